#pragma once

#include <string>

namespace quillon {

// Paths as text: UTF-8, and nothing here looks at a disk. Both "/" and "\" separate on Windows,
// "/" alone elsewhere; what is inserted is the platform's own, '\' there and '/' elsewhere.
//
//   Errors  std::bad_alloc.

char PathSeparator();
bool IsPathSeparator(char character);

// `folder` and `name` with one separator between them; `name` alone when `folder` is empty.
std::string JoinPath(const std::string& folder, const std::string& name);
// `folder` with a separator at its end; "" stays "".
std::string WithTrailingSeparator(std::string folder);
// The first separator stays, which may be all of the path.
std::string WithoutTrailingSeparators(std::string folder);
// Whether two paths name the same folder, as people write them: with or without a separator at
// the end, on Windows with either kind.
bool IsSameFolder(std::string first, std::string second);
// The folder that holds a file or folder, named with or without a separator at its end: "." for
// a plain name.
std::string ParentFolder(const std::string& path);
// "a/b/c.dat" -> "a/b/" and "c.dat".
std::string FolderOf(const std::string& path);
std::string FileNameOf(const std::string& path);
// Inserts `suffix` in front of the file name's last dot; "" when the name has no dot.
std::string WithSuffix(const std::string& path, const std::string& suffix);

}  // namespace quillon
