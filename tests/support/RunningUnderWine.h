#pragma once

namespace quillon {

// Windows tests run on Linux machines as well, on a rebuilt Windows whose answers
// differ in places that a test names.
bool RunningUnderWine();

}  // namespace quillon
