#include "support/RunningUnderWine.h"

namespace quillon {

bool RunningUnderWine() {
    return false;
}

}  // namespace quillon
