#include "kiv/ini/INIFile.h"

#include "support/FullDisk.h"
#include "support/OutputFolder.h"
#include "support/Thrown.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using kiv::ini::INIFile;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class INIFileTest : public testing::Test {
protected:
    std::string Path(std::string const& name = "test.ini") const { return m_folder.Path(name); }

    std::string Write(std::string const& text) const { return m_folder.Write("test.ini", text); }
    std::string Read() const { return m_folder.Read("test.ini"); }
    static bool IsKey(std::string const& text) {
        return tests::Thrown([&] { INIFile().Set(text, ""); }) == "nothing thrown";
    }
    // What the file holds after a change to a document that was loaded from `content`.
    template <class Change>
    std::string After(std::string const& content, Change change) const {
        INIFile ini(Write(content));
        change(ini);
        ini.Save();
        return Read();
    }

    tests::OutputFolder m_folder;
};

TEST_F(INIFileTest, WhatIsNotSetIsWrittenBackByteForByte) {
    std::string const documents[] = {
        "",
        "no line end",
        "\xEF\xBB\xBF; mark\r\nKEY\t= \"quoted\" \r\n\r\n[ A ] ; note\r\na=1\r\na = "
        "2\r\n[A]\r\na=3",
        "[]\n[broken\n[x]y\n=empty key\n garbage \n\n\n;end\n\r\r\n\t",
        std::string("\0\xff\xfe[\x80]=\n\0", 9),
    };
    for (auto const& document : documents) {
        EXPECT_EQ(
            After(
                document,
                [](INIFile& ini) {
                    ini.Node("A")->Has("a"); // looking changes nothing
                    ini.Node("NEW");
                }),
            document);
    }
}

TEST_F(INIFileTest, ChangesTouchOnlyTheirOwnLine) {
    struct {
        char const* before;
        void (*change)(INIFile&);
        char const* after;
    } const cases[] = {
        {"; c\n K  =\t1  \nL=\n", [](INIFile& i) { i.Set("K", "22"); }, "; c\n K  =\t22  \nL=\n"},
        {"K=1\nL=\n", [](INIFile& i) { i.Set("L", " x"); }, "K=1\nL=\" x\"\n"},
        {"K=\"1\"\n", [](INIFile& i) { i.Set("K", "1"); }, "K=\"1\"\n"},
        {"K=1\nk=2\nK=3\n", [](INIFile& i) { i.Set("K", "4"); }, "K=1\nk=2\nK=4\n"},
        {"K=1\nk=2\n; c\nK=3\n", [](INIFile& i) { i.Erase("K"); }, "k=2\n; c\n"},
        {"K=1", [](INIFile& i) { i.Set("N", "2"); }, "K=1\nN = 2\n"},
        {"K=1\r\n\r\n[A]\r\n", [](INIFile& i) { i.Set("N", ""); }, "K=1\r\nN =\r\n\r\n[A]\r\n"},
        {"; head\n\n; about A\n[A]\n",
         [](INIFile& i) { i.Set("N", "1"); },
         "; head\nN = 1\n\n; about A\n[A]\n"},
        {"; about A\n[A]\n", [](INIFile& i) { i.Set("N", "1"); }, "N = 1\n; about A\n[A]\n"},
        {"[A]\na=1\n[B]\n[A]\n\n; C\n[C]",
         [](INIFile& i) { i.Node("A")->Set("c", "3"); },
         "[A]\na=1\n[B]\n[A]\nc = 3\n\n; C\n[C]"},
        {"K=1", [](INIFile& i) { i.Node("A")->Set("", "x"); }, "K=1\n\n[A]\n= x\n"}};
    for (auto const& c : cases) {
        EXPECT_EQ(After(c.before, c.change), c.after) << c.before;
    }
}

TEST_F(INIFileTest, AnyValueSurvivesASaveUnderAnyKey) {
    std::vector<std::string> values{
        "", " ", "plain", " lead", "trail\t", "a\nb", "a\r", "\"", "\"q\""};
    for (char const* text : {"\\n", "\"\\", "a = b", ";c", "#c", "[s]", "x ; y", "\xC3\xBC"}) {
        values.emplace_back(text);
    }
    values.emplace_back("a\n[injected]\nkey=1");
    values.emplace_back("\0z", 2);
    values.emplace_back(100000, '"');
    std::string const keys[] = {"", "K", "WIN OUTPUT FILE FORMAT", "\xC3\xA4", "a;b#c[d]\"e\""};
    INIFile ini;
    for (auto const& key : keys) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            ini.Node("S" + std::to_string(i))->Set(key, values[i]);
        }
    }
    ini.SaveAs(Path());
    INIFile loaded(Path());
    for (std::size_t i = 0; i < values.size(); ++i) {
        INIFile const& section = *loaded.Node("S" + std::to_string(i));
        EXPECT_THAT(section.Keys(), testing::ElementsAreArray(keys));
        for (auto const& key : keys) {
            EXPECT_EQ(section.Get(key, "missing"), values[i]) << key;
        }
    }
}

// Random documents under random changes, against a map for each section.
TEST_F(INIFileTest, EveryChangeAgreesWithAModelAndSurvivesASave) {
    std::string const alphabet = "ab=[];#\"\\ \t\n\r\n";
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        auto const text = [&](std::size_t size) {
            std::string result;
            for (auto i = random() % size; i > 0; --i) {
                result += alphabet[random() % alphabet.size()];
            }
            return result;
        };
        INIFile ini(Write(text(300)));
        std::map<INIFile*, std::map<std::string, std::string>> model;
        std::vector<INIFile*> sections{&ini, ini.Node("x")};
        for (auto const& name : ini.Nodes()) {
            sections.push_back(ini.Node(name));
        }
        for (INIFile* const section : sections) {
            for (auto const& key : section->Keys()) {
                model[section][key] = *section->Find(key);
            }
        }
        for (int change = 0; change < 60; ++change) {
            INIFile* const section = sections[random() % sections.size()];
            std::string const key = text(3);
            std::string const value = text(30);
            if (random() % 3 == 0) {
                EXPECT_EQ(section->Erase(key), model[section].erase(key) == 1);
            } else if (IsKey(key) || model[section].count(key) != 0) {
                section->Set(key, value);
                model[section][key] = value;
            }
            if (random() % 40 == 0) {
                ini.Save();
                ini.Load(Path());
            }
        }
        for (INIFile* const section : sections) {
            std::map<std::string, std::string> held;
            for (auto const& key : section->Keys()) {
                held[key] = *section->Find(key);
            }
            ASSERT_EQ(held, model[section]) << "seed " << seed << ", section " << section->Name();
        }
    }
}

TEST_F(INIFileTest, WhatNoLineCanHoldIsRefused) {
    INIFile ini;
    for (char const* key : {"a=b", "a\nb", " a", "a\t", ";a", "#a", "[a]", "\xEF\xBB\xBFx"}) {
        EXPECT_FALSE(IsKey(key)) << key;
    }
    for (char const* name : {"", "a]", "a\nb", " a", "a "}) {
        EXPECT_EQ(ini.Node(name), nullptr) << name;
    }
}

TEST_F(INIFileTest, SectionsAreSeparateAndTheLastDuplicateCounts) {
    INIFile ini(Write("k=own\n[B]\nk=b\n[A]\nk=1\nj=2\nk=3\n[B]\nz=1\nk=again\n"));
    EXPECT_THAT(ini.Nodes(), ElementsAre("B", "A"));
    EXPECT_EQ(ini.Get("k", ""), "own");
    EXPECT_EQ(ini.Node("A")->Get("k", 0), 3);
    EXPECT_THAT(ini.Node("A")->Keys(), ElementsAre("j", "k"));
    EXPECT_EQ(ini.Node("B")->Get("k", ""), "again");
    EXPECT_FALSE(ini.Has("K"));
    EXPECT_EQ(ini.Node("A")->Node("B"), ini.Node("B"));
    EXPECT_TRUE(ini.Contains(ini.Node("A")));
    EXPECT_FALSE(ini.Node("A")->Contains(&ini));
    EXPECT_FALSE(ini.Contains(INIFile().Node("A")));
}

template <class T>
void ExpectLookups(
    std::initializer_list<std::pair<char const*, T>> read,
    std::initializer_list<char const*> refused) {
    INIFile ini;
    for (auto const& [text, value] : read) {
        ini.Set("k", text);
        EXPECT_EQ(ini.Get("k", T()), value) << text;
    }
    for (char const* text : refused) {
        ini.Set("k", text);
        T value{};
        EXPECT_THROW(ini.Lookup("k", value), boost::bad_lexical_cast) << text;
    }
}

TEST_F(INIFileTest, TypedLookupsTakeTheWholeTextOrThrow) {
    ExpectLookups<bool>({{"true", true}, {"FaLsE", false}}, {"", "1", "yes", "TRUE ", "TRUEE"});
    ExpectLookups<int>({{"+12", 12}, {"-3", -3}}, {"", "1.0", "1x", " 1", "++1", "+-1", "0x10"});
    ExpectLookups<unsigned>({{"4294967295", 4294967295U}}, {"-1", "4294967296"});
    ExpectLookups<double>({{"1e-3", 1e-3}}, {"1,5"});
    ExpectLookups<float>({{"0.1", 0.1F}}, {"1e99"});
}

TEST_F(INIFileTest, MissingKeyIsReportedWithItsFile) {
    INIFile ini(Write(""));
    testing::internal::CaptureStdout();
    EXPECT_EQ(ini.Get("SIZE", 32), 32);
    ini.Node("LOGO")->ReportMissing("NAME");
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "[WW] INIFile: `SIZE' not found in " + Path() + "\n[WW] INIFile: `NAME' not found in " +
            Path() + ", section LOGO\n");
}

TEST_F(INIFileTest, LoadingAgainKeepsSectionsValid) {
    INIFile ini(Write("[A]\nk=1\n"));
    INIFile* const section = ini.Node("A");
    Write("[B]\nx=1\n");
    ini.Load(Path());
    EXPECT_FALSE(section->Has("k"));
    section->Set("k", "2");
    ini.Save();
    EXPECT_EQ(Read(), "[B]\nx=1\n\n[A]\nk = 2\n");
}

TEST_F(INIFileTest, FailuresNameTheFileAndTheReasonAndLoseNothing) {
    INIFile ini(Write("k=1\n"));
    std::string const missing = Path("no/such.ini");
    EXPECT_EQ(
        tests::Thrown([&] { INIFile{missing}; }),
        "Cannot read `" + missing + "': No such file or directory");
    EXPECT_THAT(tests::Thrown([&] { ini.Load(Path("")); }), HasSubstr("Is a directory"));
    EXPECT_THAT(tests::Thrown([&] { ini.SaveAs(missing); }), HasSubstr("No such file"));
    EXPECT_THAT(tests::Thrown([&] { ini.SaveAs("/dev/null"); }), HasSubstr("/dev/null"));
    EXPECT_THAT(tests::Thrown([] { INIFile().Save(); }), HasSubstr("Cannot write `'"));
    EXPECT_EQ(ini.FileName(), Path());
    EXPECT_EQ(ini.Get("k", 0), 1);
}

TEST_F(INIFileTest, SaveKeepsLinksAndPermissionsAndLeavesNoOtherFile) {
    INIFile ini(Write("k=1\n"));
    fs::permissions(Path(), fs::perms::owner_read | fs::perms::owner_write);
    fs::create_directory(Path("folder"));
    fs::create_symlink("folder/link.ini", Path("outer.ini"));
    fs::create_symlink("../test.ini", Path("folder/link.ini"));
    ini.Set("k", "3");
    ini.SaveAs(Path("outer.ini"));
    EXPECT_EQ(Read(), "k=3\n");
    EXPECT_EQ(fs::status(Path()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(fs::is_symlink(Path("outer.ini")) && fs::is_symlink(Path("folder/link.ini")));
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(Path("")), {}), 4);
    fs::remove(Path());
    ini.Save();
    EXPECT_EQ(Read(), "k=3\n") << "made where the links end";
    fs::create_symlink("circle.ini", Path("circle.ini"));
    EXPECT_THAT(
        tests::Thrown([&] { ini.SaveAs(Path("circle.ini")); }), HasSubstr("symbolic links"));
}

TEST_F(INIFileTest, ASaveThatFailsHalfWayLeavesTheOldFileAlone) {
    INIFile ini(Write("k=1\n"));
    ini.Set("k", std::string(100000, 'x'));
    {
        tests::FullDisk const full(50000);
        EXPECT_EQ(
            tests::Thrown([&] { ini.Save(); }), "Cannot write `" + Path() + "': File too large");
    }
    EXPECT_EQ(Read(), "k=1\n");
    EXPECT_THAT(m_folder.Files(), ElementsAre("test.ini"));
    EXPECT_TRUE(ini.Modified());
    ini.Save();
    EXPECT_EQ(INIFile(Path()).Get("k", "").size(), 100000U);
}

TEST_F(INIFileTest, TenMegabytesOfKeysCommentsAndGarbageAreReadAndKept) {
    std::string content;
    std::mt19937 random(1);
    int keys = 0;
    while (content.size() < 10'000'000) {
        content += "; note\n[S" + std::to_string(random() % 500) + "]\n";
        for (int i = 0; i < 20; ++i) {
            content += "KEY " + std::to_string(keys++) + " = " + std::to_string(random()) + '\n';
        }
        for (int i = 0; i < 40; ++i) {
            content += static_cast<char>(random());
        }
        content += '\n';
    }
    content += "[LAST]\nk=1";
    EXPECT_TRUE(After(content, [&](INIFile& ini) {
                    std::size_t found = 0;
                    for (auto const& name : ini.Nodes()) {
                        found += ini.Node(name)->Keys().size();
                    }
                    EXPECT_GE(found, static_cast<std::size_t>(keys));
                    ini.Node("LAST")->Set("k", "22");
                }) == content.substr(0, content.size() - 1) + "22");
}

} // namespace
