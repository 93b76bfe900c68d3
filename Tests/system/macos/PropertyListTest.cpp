#include "system/macos/PropertyList.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

namespace tavo {
namespace {

using Dictionary = PropertyListValue::Dictionary;
using Array = PropertyListValue::Array;

TEST(PropertyList, IsAsTheFormatsManualHasIt) {
    const auto text =
        propertyListXML(Dictionary{{"On", true}, {"Off", false}, {"Words", Array{"one", "two"}}, {"Text", "value"}});
    EXPECT_EQ(text, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                    "<plist version=\"1.0\">\n"
                    "\t<dict>\n"
                    "\t\t<key>On</key>\n"
                    "\t\t<true />\n"
                    "\t\t<key>Off</key>\n"
                    "\t\t<false />\n"
                    "\t\t<key>Words</key>\n"
                    "\t\t<array>\n"
                    "\t\t\t<string>one</string>\n"
                    "\t\t\t<string>two</string>\n"
                    "\t\t</array>\n"
                    "\t\t<key>Text</key>\n"
                    "\t\t<string>value</string>\n"
                    "\t</dict>\n"
                    "</plist>\n");
}

class PropertyListText : public testing::TestWithParam<std::string> {};

TEST_P(PropertyListText, ReadsBackAsItWasWritten) {
    const auto text = propertyListXML(Dictionary{{GetParam(), GetParam()}});
    pugi::xml_document document;
    const auto result = document.load_string(text.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    ASSERT_TRUE(result) << result.description() << "\n" << text;
    EXPECT_EQ(document.child("plist").child("dict").child("key").text().get(), GetParam());
    EXPECT_EQ(document.child("plist").child("dict").child("string").text().get(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(PropertyList, PropertyListText,
                         testing::Values("", " ", "a & b", "<string>", "]]>", "\"quoted\"", "it's", "&amp;", "é/日本",
                                         "line\nfeed", "tab\there", "<!--", "<?xml?>"));

TEST(PropertyList, ANumberIsAnInteger) {
    EXPECT_NE(propertyListXML(Dictionary{{"Seconds", std::int64_t{-300}}}).find("<integer>-300</integer>"),
              std::string::npos);
}

TEST(PropertyList, WhatXMLCannotCarryIsAnError) {
    for (const auto& bad : {std::string("\x01"), std::string("a\0b", 3), std::string("\x1B"), std::string("a\r"),
                            std::string("\xFF"), std::string("\xEF\xBF\xBE"), std::string("\xEF\xBF\xBF")}) {
        EXPECT_THROW(propertyListXML(bad), PropertyListError);
        EXPECT_THROW(propertyListXML(Dictionary{{bad, true}}), PropertyListError);
    }
}

} // namespace
} // namespace tavo
