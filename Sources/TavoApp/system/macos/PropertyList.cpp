#include "system/macos/PropertyList.h"

#include "base/Text.h"

#include <pugixml.hpp>

#include <algorithm>
#include <sstream>

namespace tavo {

namespace {

bool isOutsideXML(char character) {
    // XML readers turn a carriage return into a newline, so it would not come back either.
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 && byte != '\t' && byte != '\n';
}

const char* checked(const std::string& text) {
    // The two noncharacters are valid UTF-8 and still no XML.
    if (std::any_of(text.begin(), text.end(), isOutsideXML) || repairUTF8(text) != text ||
        text.find("\xEF\xBF\xBE") != std::string::npos || text.find("\xEF\xBF\xBF") != std::string::npos) {
        throw PropertyListError();
    }
    return text.c_str();
}

/// Appends one value as the format's element for its type.
struct ElementWriter {
    pugi::xml_node parent;

    void operator()(bool value) { parent.append_child(value ? "true" : "false"); }

    void operator()(std::int64_t number) { appendText("integer", std::to_string(number)); }

    void operator()(const std::string& text) { appendText("string", text); }

    void operator()(const PropertyListValue::Array& elements) {
        ElementWriter inside{parent.append_child("array")};
        for (const auto& element : elements) {
            std::visit(inside, element.value);
        }
    }

    void operator()(const PropertyListValue::Dictionary& entries) {
        ElementWriter inside{parent.append_child("dict")};
        for (const auto& [key, entry] : entries) {
            inside.appendText("key", key);
            std::visit(inside, entry.value);
        }
    }

    void appendText(const char* element, const std::string& text) {
        parent.append_child(element).append_child(pugi::node_pcdata).set_value(checked(text));
    }
};

} // namespace

std::string propertyListXML(const PropertyListValue& root) {
    pugi::xml_document document;
    auto declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    document.append_child(pugi::node_doctype)
        .set_value(R"(plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd")");
    auto plist = document.append_child("plist");
    plist.append_attribute("version") = "1.0";
    std::visit(ElementWriter{plist}, root.value);
    std::ostringstream text;
    document.save(text, "\t", pugi::format_default, pugi::encoding_utf8);
    return text.str();
}

} // namespace tavo
