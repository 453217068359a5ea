#pragma once

#include "Faults.h"

namespace quillon {

// A program that commits on and on, with a journal whose rooms it crosses every few commits,
// killed at any moment: what it acknowledged is there afterwards, and at most one commit more.
void KillGrowingStore(const FaultsOptions& options, CFaultsReport& report);

}  // namespace quillon
