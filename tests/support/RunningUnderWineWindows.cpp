#include <windows.h>

#include "support/RunningUnderWine.h"

namespace quillon {

bool RunningUnderWine() {
    const HMODULE library = ::GetModuleHandleW(L"ntdll.dll");
    return library && ::GetProcAddress(library, "wine_get_version");
}

}  // namespace quillon
