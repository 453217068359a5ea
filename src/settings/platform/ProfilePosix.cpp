#include "settings/ProfileFile.h"

namespace quillon {

CProfile& PlatformProfile() {
    static CProfileFile profile;
    return profile;
}

}  // namespace quillon
