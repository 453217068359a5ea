#include "import/qif/QifActions.h"

#include "import/text/TextScan.h"

namespace quillon {

namespace {

constexpr QifAction kActions[] = {
    {"", QifCash::AsWritten},
    {"Cash", QifCash::AsWritten},
    {"MiscInc", QifCash::In},
    {"MiscExp", QifCash::Out},
    {"Div", QifCash::In},
    {"IntInc", QifCash::In},
    {"CGLong", QifCash::In},
    {"CGMid", QifCash::In},
    {"CGShort", QifCash::In},
    {"RtrnCap", QifCash::In},
    {"XIn", QifCash::In},
    {"XOut", QifCash::Out},
    {"ContribX", QifCash::In},
    {"WithdrwX", QifCash::Out},
    {"Deposit", QifCash::In},
    {"MargInt", QifCash::Out},
    {"Buy", QifCash::TradeOut},
    {"Sell", QifCash::TradeIn},
    {"ShtSell", QifCash::TradeIn},
    {"CvrShrt", QifCash::TradeOut},
    {"Exercise", QifCash::TradeOut},
    {"BuyX", QifCash::Elsewhere},
    {"SellX", QifCash::Elsewhere},
    {"ShtSellX", QifCash::Elsewhere},
    {"CvrShrtX", QifCash::Elsewhere},
    {"ExercisX", QifCash::Elsewhere},
    {"DivX", QifCash::Elsewhere},
    {"IntIncX", QifCash::Elsewhere},
    {"CGLongX", QifCash::Elsewhere},
    {"CGMidX", QifCash::Elsewhere},
    {"CGShortX", QifCash::Elsewhere},
    {"RtrnCapX", QifCash::Elsewhere},
    {"MiscIncX", QifCash::Elsewhere},
    {"MiscExpX", QifCash::Elsewhere},
    {"MargIntX", QifCash::Elsewhere},
    {"ShrsIn", QifCash::None},
    {"ShrsOut", QifCash::None},
    {"ReinvDiv", QifCash::None},
    {"ReinvInt", QifCash::None},
    {"ReinvLg", QifCash::None},
    {"ReinvMd", QifCash::None},
    {"ReinvSh", QifCash::None},
    {"StkSplit", QifCash::None},
    {"Grant", QifCash::None},
    {"Vest", QifCash::None},
    {"Expire", QifCash::None},
    {"Reminder", QifCash::None},
};

}  // namespace

const QifAction* FindQifAction(std::string_view name) {
    for (const QifAction& action : kActions) {
        if (EqualIgnoringAsciiCase(name, action.name)) return &action;
    }
    return nullptr;
}

}  // namespace quillon
