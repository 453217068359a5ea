#pragma once

#include <string_view>

namespace quillon {

// A table; nothing fails.

// Investment actions by what they do to the money of the account itself.
enum class QifCash {
    AsWritten,
    In,       // as written too: money that comes in has no sign
    Out,      // without a sign it goes out
    TradeIn,  // the same, with shares that change hands
    TradeOut,
    Elsewhere,  // paid from or into another account
    None,       // shares only
};

struct QifAction {
    std::string_view name;
    QifCash cash;
};

// In any case; null: none of that name.
const QifAction* FindQifAction(std::string_view name);

}  // namespace quillon
