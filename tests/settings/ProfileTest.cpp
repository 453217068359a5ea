#include "settings/Profile.h"

#include <gtest/gtest.h>

#include <optional>

#include "settings/ProfileFile.h"
#include "support/Bytes.h"
#include "support/EachFailure.h"
#include "support/RunningUnderWine.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

using namespace std::string_literals;

// Wine writes the whole file anew and tidies every line of it: blank lines and
// blanks around names and values go, and every line ends with CR LF. Windows
// leaves all lines alone but the one in question, and so do we.
std::string TidiedByWine(const std::string& text) {
    const auto trimmed = [](const std::string& part) {
        const size_t start = part.find_first_not_of(" \t");
        if (start == std::string::npos) return std::string();
        return part.substr(start, part.find_last_not_of(" \t") + 1 - start);
    };
    std::string tidied;
    std::string line;
    for (const char character : text + "\n") {
        if (character != '\n' && character != '\r') {
            line += character;
            continue;
        }
        const size_t equals = line.find('=');
        if (equals != std::string::npos) {
            line = trimmed(line.substr(0, equals)) + "=" + trimmed(line.substr(equals + 1));
        }
        line = trimmed(line);
        if (!line.empty()) tidied += line + "\r\n";
        line.clear();
    }
    return tidied;
}

// Runs on our profile files and on the platform's routines. On Windows these are
// the system's own, so the one table holds both to the same results.
class ProfileTest : public testing::TestWithParam<const char*> {
protected:
    ProfileTest() : m_folder("Jürgen"), m_path(m_folder.File("Quillon.cfg")) {
        m_isPlatform = std::string(GetParam()) == "platform";
        m_profile = m_isPlatform ? &PlatformProfile() : &m_own;
    }

    void Put(const std::optional<std::string>& text) {
        CFileSystem& files = PlatformFileSystem();
        ASSERT_TRUE(!files.Exists(m_path) || files.Remove(m_path));
        ASSERT_TRUE(!text || WriteWholeFile(files, m_path, Text(*text)));
    }
    std::optional<std::string> Contents() const {
        Bytes bytes;
        if (!ReadWholeFile(PlatformFileSystem(), m_path, bytes)) return std::nullopt;
        return ToString(bytes);
    }
    void ExpectContents(const std::optional<std::string>& expected) const {
        const auto contents = Contents();
        if (m_isPlatform && RunningUnderWine() && contents != expected && expected) {
            EXPECT_EQ(contents, TidiedByWine(*expected));
        } else {
            EXPECT_EQ(contents, expected);
        }
    }

    CTemporaryFolder m_folder;
    std::string m_path;
    CProfileFile m_own;
    CProfile* m_profile = nullptr;
    bool m_isPlatform = false;
};

INSTANTIATE_TEST_SUITE_P(Implementations, ProfileTest, testing::Values("own", "platform"),
                         [](const auto& info) { return std::string(info.param); });

TEST_P(ProfileTest, Read) {
    const std::string nothing = "(nothing)";
    const struct {
        std::string file, section, key, value;
    } rows[] = {
        {"[S]\r\nk=v\r\n", "S", "k", "v"},
        {"[Section]\r\nKey=Value\r\n", "sECTION", "kEY", "Value"},
        {"[S]\r\nk=v\r\n", "S", "other", nothing},
        {"[S]\r\nk=v\r\n", "T", "k", nothing},
        {"[S]\r\nkk=v\r\n[SS]\r\nk=w\r\n", "S", "k", nothing},
        {"[S]\r\nk=\r\n", "S", "k", nothing},
        {"[S]\r\nk\r\n", "S", "k", nothing},
        {"", "S", "k", nothing},
        // blanks
        {"  [S]  \r\n\t k \t=\t v w \t\r\n", "S", "k", "v w"},
        {"[ S ]\r\nk=v\r\n", "S", "k", "v"},
        {"[S]\r\nk=v\r\n", " S ", " k ", "v"},
        {"[CheckPrint]\r\nCheckWidth= 6.00\r\n", "CheckPrint", "CheckWidth", "6.00"},
        {"[S]\r\nk=\v v\f\r\n", "S", "k", "v"},
        // quotes: one matching pair
        {"[S]\r\nk=\" v \"\r\n", "S", "k", " v "},
        {"[S]\r\nk='v'\r\n", "S", "k", "v"},
        {"[S]\r\nk=\"\"v\"\"\r\n", "S", "k", "\"v\""},
        {"[S]\r\nk=\"a\"b\"\r\n", "S", "k", "a\"b"},
        {"[S]\r\nk=\"v\r\n", "S", "k", "\"v"},
        {"[S]\r\nk='v\"\r\n", "S", "k", "'v\""},
        {"[S]\r\nk=\"\r\n", "S", "k", "\""},
        {"[S]\r\nk=\"\"\r\n", "S", "k", nothing},
        // comments are lines, never ends of lines
        {"[S]\r\n;k=v\r\nk=w ; c\r\n", "S", "k", "w ; c"},
        {"[S]\r\n  ; [T]\r\nk=v\r\n", "S", "k", "v"},
        {"[S] ; c\r\nk=v\r\n", "S", "k", "v"},
        {"[S]\r\n#k=v\r\n", "S", "#k", "v"},
        // the first counts
        {"[S]\r\nk=1\r\nk=2\r\n[S]\r\nk=3\r\n", "S", "k", "1"},
        {"[S]\r\nk=1\r\n[T]\r\n[s]\r\nj=3\r\n", "S", "j", nothing},
        {"[S]\r\nk=a=b\r\n", "S", "k", "a=b"},
        // brackets
        {"[S]]\r\nk=v\r\n", "S", "k", nothing},
        {"[S]]\r\nk=v\r\n", "S]", "k", "v"},
        {"[T]\r\n[S\r\nk=v\r\n", "S", "k", nothing},
        {"[T]\r\n[S\r\nk=v\r\n", "T", "k", "v"},
        {"k=0\r\n[S]\r\nk=v\r\n", "S", "k", "v"},
        // line ends
        {"[S]\nk=v\nj=w\n", "S", "j", "w"},
        {"[S]\rk=v\rj=w\r", "S", "j", "w"},
        {"[S]\r\r\n\rk=v\r\r\n", "S", "k", "v"},
        {"[S]\r\nk=v", "S", "k", "v"},
        {"[S]\r\nk=v\r\n\x1A", "S", "k", "v"},
        {"[S]\r\nk=v\x1A", "S", "k", "v"},
        // bytes beyond ASCII
        {"\xEF\xBB\xBF[S]\r\nk=v\r\n", "S", "k", "v"},
        {"[S]\r\nk=C:\\Users\\Jürgen\\日本\r\n", "S", "k", "C:\\Users\\Jürgen\\日本"},
        {"[S]\r\nk=ab\0cd\r\nj=2\r\n"s, "S", "k", "ab"},
        {"[S]\r\nk=ab\0cd\r\nj=2\r\n"s, "S", "j", "2"},
        // the buffer of 2,048 bytes
        {"[S]\r\nk=" + std::string(2047, 'x') + "\r\n", "S", "k", std::string(2047, 'x')},
        {"[S]\r\nk=" + std::string(3000, 'x') + "\r\n", "S", "k", std::string(2047, 'x')},
        {"[S]\r\nk=\"" + std::string(3000, 'x') + "\"\r\n", "S", "k", std::string(2047, 'x')},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file.substr(0, 200));
        Put(row.file);
        std::string value = nothing;
        EXPECT_EQ(m_profile->Read(m_path, row.section, row.key, value), row.value != nothing);
        EXPECT_EQ(value, row.value);
        EXPECT_EQ(Contents(), row.file) << "reading writes nothing";
    }
    Put(std::nullopt);
    std::string value = nothing;
    EXPECT_FALSE(m_profile->Read(m_path, "S", "k", value));
    EXPECT_EQ(Contents(), std::nullopt) << "reading makes no file";
}

TEST_P(ProfileTest, Write) {
    const struct {
        std::optional<std::string> before;
        std::string section, key, value, after;
    } rows[] = {
        // new files, sections and keys
        {std::nullopt, "S", "k", "v", "[S]\r\nk=v\r\n"},
        {"", "S", "k", "v", "[S]\r\nk=v\r\n"},
        {"[S]\r\n", "S", "k", "v", "[S]\r\nk=v\r\n"},
        {"[S]\r\nk=v\r\n", "S", "j", "w", "[S]\r\nk=v\r\nj=w\r\n"},
        {"[S]\r\nk=v\r\n", "T", "k", "w", "[S]\r\nk=v\r\n[T]\r\nk=w\r\n"},
        {"[S]\r\n[T]\r\na=1\r\n", "S", "k", "v", "[S]\r\nk=v\r\n[T]\r\na=1\r\n"},
        {"[S]\r\nk=1\r\n[T]\r\n[S]\r\nj=2\r\n", "S", "j", "3",
         "[S]\r\nk=1\r\nj=3\r\n[T]\r\n[S]\r\nj=2\r\n"},
        // changes
        {"[S]\r\nk=v\r\nj=1\r\n", "S", "k", "w", "[S]\r\nk=w\r\nj=1\r\n"},
        {"[Sec]\r\nKey=v\r\n", "sEC", "kEY", "w", "[Sec]\r\nKey=w\r\n"},
        {"[S]\r\nk=1\r\nk=2\r\n", "S", "k", "3", "[S]\r\nk=3\r\nk=2\r\n"},
        {"[S]\r\n  k = v\r\n", "S", "k", "w", "[S]\r\nk=w\r\n"},
        {"[S]\r\nk\r\n", "S", "k", "v", "[S]\r\nk=v\r\n"},
        {"[S]\r\nk=v\r\n", "S", "k", "J\xC3\xBCrgen", "[S]\r\nk=Jürgen\r\n"},
        {"[S]\r\nk=v\r\n", "S", "k", "\"q\"", "[S]\r\nk=\"q\"\r\n"},
        {"[S]\r\nk=\"v\"\r\n", "S", "k", "v", "[S]\r\nk=v\r\n"},
        {"[S]\r\nk=v\r\n", "S", "k", "  w ", "[S]\r\nk=w \r\n"},
        {"[S]\r\nk=v\r\n", "S", "k", "", "[S]\r\nk=\r\n"},
        // nothing to change leaves the file alone, however it looks
        {"[S]\n\n k = v", "S", "k", "v", "[S]\n\n k = v"},
        // the file has no last line end
        {"[S]\r\nk=v", "S", "k", "w", "[S]\r\nk=w\r\n"},
        {"[S]\r\nk=v", "S", "j", "w", "[S]\r\nk=v\r\nj=w\r\n"},
        {"[S]\r\nk=v", "T", "k", "w", "[S]\r\nk=v\r\n[T]\r\nk=w\r\n"},
        {"[S]", "S", "k", "w", "[S]\r\nk=w\r\n"},
        {"\xEF\xBB\xBF[S]\r\nk=v", "S", "k", "w", "\xEF\xBB\xBF[S]\r\nk=w\r\n"},
        // comments and lines of unknown meaning stay
        {"; mine\r\n[S]\r\n;k=0\r\nk=v ; x\r\nodd line\r\n[S\r\n", "S", "k", "w",
         "; mine\r\n[S]\r\n;k=0\r\nk=w\r\nodd line\r\n[S\r\n"},
        {"[S]\r\nk=v\r\n; end\r\n[T]\r\n", "S", "j", "w", "[S]\r\nk=v\r\n; end\r\nj=w\r\n[T]\r\n"},
        // a new key goes in front of the blank lines that end its section
        {"[S]\r\nk=v\r\n\r\n \r\n[T]\r\na=1\r\n", "S", "j", "w",
         "[S]\r\nk=v\r\nj=w\r\n\r\n \r\n[T]\r\na=1\r\n"},
        {"[S]\r\n\r\n[T]\r\n", "S", "k", "v", "[S]\r\nk=v\r\n\r\n[T]\r\n"},
        {"[S]\r\nk=v\r\n\r\n", "S", "j", "w", "[S]\r\nk=v\r\nj=w\r\n\r\n"},
        {"[S]\r\nk=v\r\n\r\n", "T", "k", "w", "[S]\r\nk=v\r\n\r\n[T]\r\nk=w\r\n"},
        // all other lines stay as they are
        {"[C]\r\nCheckWidth= 6.00\r\nk=v\r\n", "C", "k", "w", "[C]\r\nCheckWidth= 6.00\r\nk=w\r\n"},
        {" [S] \n a = 1 \n\nk=v\nb=2\n", "S", "k", "w", " [S] \n a = 1 \n\nk=w\r\nb=2\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before.value_or("(no file)") + " " + row.key + "=" + row.value);
        Put(row.before);
        EXPECT_TRUE(m_profile->Write(m_path, row.section, row.key, row.value));
        ExpectContents(row.after);
    }
    EXPECT_FALSE(m_profile->Write(m_folder.File("missing/Quillon.cfg"), "S", "k", "v"));
}

TEST_P(ProfileTest, Remove) {
    const struct {
        std::optional<std::string> before;
        std::string section, key;
        std::optional<std::string> after;
    } rows[] = {
        {"[S]\r\nk=v\r\nj=1\r\n", "s", "K", "[S]\r\nj=1\r\n"},
        {"[S]\r\nk=v\r\n", "S", "k", "[S]\r\n"},
        {"[S]\r\nj=1\r\nk=v", "S", "k", "[S]\r\nj=1\r\n"},
        {"[S]\r\nk=1\r\nk=2\r\n", "S", "k", "[S]\r\nk=2\r\n"},
        {"[S]\r\n;c\r\n\r\nk=x\r\n\r\n[T]\r\n", "S", "k", "[S]\r\n;c\r\n\r\n\r\n[T]\r\n"},
        {"[S]\r\nk=1\r\n[T]\r\nk=2", "S", "k", "[S]\r\n[T]\r\nk=2\r\n"},
        {"[S]\r\n k = 1", "S", "j", "[S]\r\n k = 1"},
        {"[S]\r\nk=1", "T", "k", "[S]\r\nk=1"},
        {std::nullopt, "S", "k", std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before.value_or("(no file)") + " " + row.key);
        Put(row.before);
        EXPECT_TRUE(m_profile->Remove(m_path, row.section, row.key));
        ExpectContents(row.after);
    }
}

TEST_P(ProfileTest, ListsSectionsAndNames) {
    using Names = std::vector<std::string>;
    Put("x=0\r\n[S]\r\n;c=1\r\n a = 1\r\nodd\r\n\r\nb=\r\n[T]\r\n[ U ]\r\nz=1");
    EXPECT_EQ(m_profile->Sections(m_path), (Names{"S", "T", "U"}));
    EXPECT_EQ(m_profile->Names(m_path, "s"), (Names{"a", "b"}));
    EXPECT_EQ(m_profile->Names(m_path, "T"), Names{});
    EXPECT_EQ(m_profile->Names(m_path, "U"), Names{"z"});
    EXPECT_EQ(m_profile->Names(m_path, "V"), Names{});

    // More than any first guess of a buffer holds.
    std::string large;
    Names sections, keys;
    for (int i = 0; i < 2000; ++i) {
        sections.push_back("Section" + std::to_string(i));
        large += "[" + sections.back() + "]\r\n";
    }
    large += "[Keys]\r\n";
    for (int i = 0; i < 2000; ++i) {
        keys.push_back("Key" + std::to_string(i));
        large += keys.back() + "=1\r\n";
    }
    sections.push_back("Keys");
    Put(large);
    EXPECT_EQ(m_profile->Sections(m_path), sections);
    EXPECT_EQ(m_profile->Names(m_path, "Keys"), keys);
    Put(std::nullopt);
    EXPECT_EQ(m_profile->Sections(m_path), Names{});
}

// Each change of the disk fails once, in turn: the file is the old one or the new one,
// and the call says which.
TEST(ProfileFile, FailedWriteLosesNothing) {
    const std::string before = "[S]\r\nk=old\r\nj=1\r\n";
    const std::string after = "[S]\r\nk=new\r\nj=1\r\n";
    CMemoryFileSystem disk;
    disk.Bytes("Quillon.cfg") = Text(before);
    CEachFailure failure(disk, {.kind = CMemoryFileSystem::Call::AnyChange, .written = 5});
    while (failure.Next()) {
        SCOPED_TRACE(failure.Nth());
        CProfileFile profile(disk);
        failure.Arm();
        const bool written = profile.Write("Quillon.cfg", "S", "k", "new");
        EXPECT_TRUE(failure.Disarm() || written);
        EXPECT_EQ(ToString(disk.Bytes("Quillon.cfg")), written ? after : before);
        EXPECT_EQ(disk.Snapshot().size(), 1U) << "no temporary file is left";
    }
}

TEST(ProfileFile, UnreadableFileIsNotReplaced) {
    using Call = CMemoryFileSystem::Call;
    for (const Call call : {Call::Open, Call::Read}) {
        CMemoryFileSystem disk;
        disk.Bytes("Quillon.cfg") = Text("[S]\r\nk=v\r\n");
        disk.FailNth(call, 1, FileError::NoPermission);
        CProfileFile profile(disk);
        EXPECT_FALSE(profile.Write("Quillon.cfg", "T", "j", "w"));
        disk.FailNth(call, 1, FileError::NoPermission);
        EXPECT_FALSE(profile.Remove("Quillon.cfg", "S", "k"));
        EXPECT_EQ(disk.Bytes("Quillon.cfg"), Text("[S]\r\nk=v\r\n"));
    }
}

}  // namespace
}  // namespace quillon
