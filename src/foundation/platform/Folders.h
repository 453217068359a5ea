#pragma once

#include <string>

namespace quillon {

// Where things lie on this machine. Paths are UTF-8, absolute and without a
// separator at the end (but for a root folder); empty when the machine does not say.
//
//   Errors   An empty text. Nothing here throws but std::bad_alloc.
//   Threads  Any, as long as nobody changes the environment meanwhile.

// The folder of the running program.
std::string ExecutableFolder();
// Where the user's settings belong: the roaming application data on Windows,
// $XDG_CONFIG_HOME or ~/.config elsewhere. It need not exist.
std::string RoamingDataFolder();
std::string TemporaryFolder();
std::string CurrentFolder();
// What `path` means to this process now, for remembering it beyond. As it stands when the
// machine does not say.
std::string AbsolutePath(const std::string& path);

// Empty when the variable is not set.
std::string EnvironmentVariable(const std::string& name);

}  // namespace quillon
