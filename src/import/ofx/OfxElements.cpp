#include "import/ofx/OfxElements.h"

#include <cstddef>

#include "import/text/TextScan.h"

namespace quillon {

namespace {

struct ElementName {
    std::string_view name;
    OfxElement element;
};

constexpr ElementName kElements[] = {
    {"OFX", OfxElement::Ofx},
    {"STMTTRN", OfxElement::StatementLine},
    {"BANKTRANLIST", OfxElement::TransactionList},
    {"STMTRS", OfxElement::BankStatement},
    {"CCSTMTRS", OfxElement::CardStatement},
    {"INVSTMTRS", OfxElement::InvestmentStatement},
    {"BANKACCTFROM", OfxElement::AccountFrom},
    {"CCACCTFROM", OfxElement::AccountFrom},
    {"INVACCTFROM", OfxElement::AccountFrom},
    {"STATUS", OfxElement::Status},
    {"INVTRAN", OfxElement::InvestmentAction},
    {"LEDGERBAL", OfxElement::LedgerBalance},
    {"DTPOSTED", OfxElement::Date},
    {"DTUSER", OfxElement::UserDate},
    {"TRNAMT", OfxElement::Amount},
    {"TRNTYPE", OfxElement::Type},
    {"FITID", OfxElement::Id},
    {"CHECKNUM", OfxElement::Check},
    {"NAME", OfxElement::Name},
    {"MEMO", OfxElement::Memo},
    {"CORRECTFITID", OfxElement::CorrectId},
    {"CORRECTACTION", OfxElement::CorrectAction},
    {"CURRENCY", OfxElement::Currency},
    {"ORIGCURRENCY", OfxElement::OriginalCurrency},
    {"CURSYM", OfxElement::CurrencySymbol},
    {"CURRATE", OfxElement::CurrencyRate},
    {"CURDEF", OfxElement::DefaultCurrency},
    {"ACCTID", OfxElement::AccountId},
    {"ACCTTYPE", OfxElement::AccountType},
    {"BANKID", OfxElement::BankId},
    {"BALAMT", OfxElement::Balance},
    {"CODE", OfxElement::Code},
    {"SEVERITY", OfxElement::Severity},
    {"MESSAGE", OfxElement::Message},
};

}  // namespace

// Names are upper case; some programs write them otherwise.
OfxElement OfxElementOf(std::string_view name) {
    char upper[16];
    if (name.empty() || name.size() > sizeof upper) return OfxElement::Other;
    for (size_t i = 0; i < name.size(); ++i) upper[i] = UpperAscii(name[i]);
    const std::string_view text(upper, name.size());
    for (const ElementName& row : kElements) {
        if (row.name == text) return row.element;
    }
    return OfxElement::Other;
}

}  // namespace quillon
