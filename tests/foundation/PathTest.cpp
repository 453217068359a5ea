#include "foundation/Path.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

TEST(Paths, AreTakenApartAtTheLastSeparator) {
    const struct {
        const char* path;
        const char* parent;
        const char* folder;
        const char* name;
        const char* suffixed;  // with "_x"; empty when there is no dot in the name
    } rows[] = {
        {"a/b/c.dat", "a/b/", "a/b/", "c.dat", "a/b/c_x.dat"},
        {"a.b/c", "a.b/", "a.b/", "c", ""},
        {"a/b/", "a/", "a/b/", "", ""},
        {"a//", ".", "a//", "", ""},
        {"c.d.e", ".", "", "c.d.e", "c.d_x.e"},
        {"/a", "/", "/", "a", ""},
        {"/", "/", "/", "", ""},
        {"", ".", "", "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(ParentFolder(row.path), row.parent);
        EXPECT_EQ(FolderOf(row.path), row.folder);
        EXPECT_EQ(FileNameOf(row.path), row.name);
        EXPECT_EQ(WithSuffix(row.path, "_x"), row.suffixed);
    }
}

TEST(Paths, JoinWithOneSeparator) {
    const std::string separator(1, PathSeparator());
    EXPECT_EQ(JoinPath("a", "b"), "a" + separator + "b");
    EXPECT_EQ(JoinPath("a/", "b"), "a/b");
    EXPECT_EQ(JoinPath("a" + separator, "b"), "a" + separator + "b");
    EXPECT_EQ(JoinPath("", "b"), "b");
    EXPECT_EQ(WithoutTrailingSeparators("/a//"), "/a");
    EXPECT_EQ(WithoutTrailingSeparators("//"), "/");
}

}  // namespace
}  // namespace quillon
