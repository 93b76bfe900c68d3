#include "TavoControl/RunOptionsFile.h"

#include "Support/TemporaryDirectory.h"
#include "TavoControl/ExitStatus.h"
#include "TavoControl/ParsedArguments.h"
#include "base/JsonCoding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tavo {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class RunOptionsFileTest : public ::testing::Test {
protected:
    RunOptions read(const std::string& text) {
        folder.write("run.conf", text);
        return file.read();
    }

    /// The sentence with which a text is refused; the file must be as it was.
    std::string refusalOf(const std::string& text) {
        try {
            read(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const ConfigurationError& error) {
            EXPECT_EQ(exitStatusOf(std::current_exception()), ExitStatus::invalidConfiguration);
            EXPECT_EQ(fileContent(path), text);
            return error.description();
        }
        return {};
    }

    /// The sentence about one line.
    std::string refusalOfLine(const std::string& text, std::size_t number) {
        const auto sentence = refusalOf(text);
        const auto start = path.string() + ", line " + std::to_string(number) + ": ";
        EXPECT_THAT(sentence,
                    AllOf(StartsWith(start), ::testing::AnyOf(EndsWith("."), EndsWith("?")), Not(HasSubstr("\n"))));
        return sentence.substr(std::min(start.size(), sentence.size()));
    }

    TemporaryDirectory folder;
    std::filesystem::path path = folder.path() / "run.conf";
    RunOptionsFile file{TavoPaths{folder.path()}};
};

TEST_F(RunOptionsFileTest, WithoutAFileThereAreNoOptions) {
    const auto options = file.read();
    EXPECT_TRUE(options.overrides.isEmpty());
    EXPECT_FALSE(options.whileWorking.has_value());
    EXPECT_FALSE(std::filesystem::exists(path)) << "nothing is written";
}

TEST_F(RunOptionsFileTest, AnEmptyFileHasNoOptionsEither) {
    for (const auto* text : {"", "\n", "# only\n\n   # comments\n", "\xEF\xBB\xBF", "\r\n"}) {
        EXPECT_TRUE(read(text).overrides.isEmpty()) << text;
    }
}

TEST_F(RunOptionsFileTest, EachLineIsAnOptionOfTheCommandLine) {
    const auto options = read("# at the mains, while it works\n"
                              "preset claudeCode\n"
                              "\n"
                              "  busy\t2.5  \n"
                              "while-working\r\n"
                              "power ac\n"
                              "cutoff none\n"
                              "lid both\n"
                              "for 8h\n"
                              "json");
    const auto same = run({"--preset", "claudeCode", "--busy", "2.5", "--while-working", "--power", "ac", "--cutoff",
                           "none", "--lid", "both", "--for", "8h", "--json"});
    EXPECT_EQ(options.overrides.json(), same.overrides.json());
    EXPECT_EQ(options.whileWorking, same.whileWorking);
    EXPECT_EQ(options.bound.length, same.bound.length);
    EXPECT_TRUE(options.json);
    EXPECT_FALSE(options.isService);
}

TEST_F(RunOptionsFileTest, AValueIsTheRestOfItsLine) {
    const auto commandHolds = [](const std::string& query) {
        return custom(TriggerMatchStrategy::commandLineContains, query);
    };
    EXPECT_EQ(read("command npm run dev\n").overrides.trigger, commandHolds("npm run dev"));
    EXPECT_EQ(read("command --watch $HOME \"a b\" #1 \\n\n").overrides.trigger,
              commandHolds("--watch $HOME \"a b\" #1 \\n"));
    EXPECT_EQ(read("command =x\n").overrides.trigger, commandHolds("=x"));
    EXPECT_EQ(read("executable Größe\n").overrides.trigger, custom(TriggerMatchStrategy::executableName, "Größe"));
}

TEST_F(RunOptionsFileTest, TheLineWithTheMistakeIsNamed) {
    EXPECT_THAT(refusalOfLine("power ac\npreset claude\n", 2),
                HasSubstr("--preset takes one of always, codex, claudeCode, cursor, not \"claude\""));
    EXPECT_THAT(refusalOfLine("# c\n\nprest codex\npower ac\n", 3), HasSubstr("prest"));
    EXPECT_THAT(refusalOfLine("cutoff 101\n", 1), HasSubstr("--cutoff takes a percentage"));
    EXPECT_THAT(refusalOfLine("always\npower\n", 2), HasSubstr("--power needs a value"));
    EXPECT_THAT(refusalOfLine("json yes\n", 1), HasSubstr("--json takes no value"));
    EXPECT_THAT(refusalOfLine("power ac\nlid open\npower any\n", 3), HasSubstr("--power may be given only once"));
    EXPECT_THAT(refusalOfLine("for 10\n", 1), HasSubstr("--for takes a duration"));
}

TEST_F(RunOptionsFileTest, ALineThatNeedsOrExcludesAnotherIsNamed) {
    EXPECT_THAT(refusalOfLine("preset codex\ngrace 5m\n", 2), HasSubstr("--grace needs --while-working"));
    EXPECT_THAT(refusalOfLine("preset codex\npower ac\nalways\nlid open\n", 3), HasSubstr("only one of --always"));
    EXPECT_THAT(refusalOfLine("while-working\nlid open\nalways\n", 3), HasSubstr("always on"));
}

TEST_F(RunOptionsFileTest, TheFormsOfOtherFilesAreRefusedWithTheRightOne) {
    for (const auto* text :
         {"--preset codex\n", "preset=codex\n", "-h\n", "preset: codex\n", "[run]\n", "Preset codex\n"}) {
        EXPECT_THAT(refusalOfLine(text, 1), HasSubstr("as in preset claudeCode")) << text;
    }
    EXPECT_THAT(refusalOfLine("preset = codex\n", 1), HasSubstr("not \"= codex\""));
    for (const auto* text : {"command \"npm run dev\"\n", "command 'npm run dev'\n"}) {
        EXPECT_THAT(refusalOfLine(text, 1), HasSubstr("needs no quotes"));
    }
}

TEST_F(RunOptionsFileTest, WhatBelongsOnTheCommandLineIsRefusedWithTheReason) {
    EXPECT_THAT(refusalOfLine("root /tmp\n", 1), HasSubstr("where this file was found"));
    EXPECT_THAT(refusalOfLine("pid 1\n", 1), HasSubstr("another process at the next start"));
    EXPECT_THAT(refusalOfLine("service\n", 1), HasSubstr("the service's already"));
    EXPECT_THAT(refusalOfLine("help\n", 1), HasSubstr("tavoctl run --help"));
    EXPECT_THAT(refusalOfLine("version\n", 1), HasSubstr("version"));
}

TEST_F(RunOptionsFileTest, BytesThatAreNoTextAreRefused) {
    using namespace std::string_literals;
    for (const auto& text : {"power ac\ncommand \xFF\n"s, "power ac\ncommand a\0b\n"s, "power ac\n#\x1B[2J\n"s,
                             "power ac\ncommand \x7F\n"s}) {
        EXPECT_THAT(refusalOfLine(text, 2), HasSubstr("no utf-8 text"));
    }
}

TEST_F(RunOptionsFileTest, AFileBeyondAllReasonIsRefused) {
    EXPECT_THAT(refusalOf(std::string(RunOptionsFile::maxSize + 1, '#')),
                AllOf(HasSubstr(path.string()), HasSubstr("larger than 4 KiB")));
    std::string many;
    for (std::size_t count = 0; count <= RunOptionsFile::maxOptions; ++count) {
        many += "always\n";
    }
    EXPECT_THAT(refusalOfLine(many, RunOptionsFile::maxOptions + 1), HasSubstr("more than 32 options"));
}

TEST_F(RunOptionsFileTest, WhatIsNoReadableFileIsRefusedAndStays) {
    const auto refusal = [&] {
        try {
            file.read();
        } catch (const ConfigurationError& error) {
            return error.description();
        }
        return std::string("accepted");
    };
    const auto names = AllOf(StartsWith("the options in " + path.string() + " cannot be used: "),
                             HasSubstr("move it away to run by config.json alone."));
    std::filesystem::create_directory(path);
    EXPECT_THAT(refusal(), AllOf(names, HasSubstr("run.conf, which is a folder and not a file; fix")));
    std::filesystem::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_THAT(refusal(), names);
    std::filesystem::remove(path);
    std::filesystem::create_symlink(folder.path() / "nowhere", path);
    EXPECT_THAT(refusal(), AllOf(names, HasSubstr("no such file")));
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    std::filesystem::remove(path);
    folder.write("elsewhere", "power ac\n");
    std::filesystem::create_symlink(folder.path() / "elsewhere", path);
    EXPECT_EQ(file.read().overrides.powerSourcePolicy, PowerSourcePolicy::acOnly);
}

} // namespace
} // namespace tavo
