#include "import/ofx/OfxAccounts.h"

#include <utility>

#include "import/text/TextScan.h"

namespace quillon {

uint32_t COfxAccounts::Take(const OfxStatement& ended, std::vector<ImportSource>& sources,
                            std::vector<bool>& hasBalance) {
    std::string key(1, static_cast<char>('0' + static_cast<int>(ended.kind)));
    for (const std::string* part : {&ended.account, &ended.type, &ended.bank}) {
        key.append(*part).append(1, '\n');
    }
    const auto [place, isNew] =
        m_byKey.try_emplace(std::move(key), static_cast<uint32_t>(m_first.size()));
    const uint32_t index = place->second;
    if (isNew) {
        sources.emplace_back();
        hasBalance.push_back(false);
        m_first.push_back(ended);
    }
    ImportSource& source = sources[index];
    source.lines += ended.lines;
    if (source.currency.empty()) source.currency = ended.currency;
    hasBalance[index] = hasBalance[index] || ended.hasBalance;
    return index;
}

std::string COfxAccounts::NameOf(size_t index, int detail) const {
    const OfxStatement& account = m_first[index];
    if (account.account.empty()) {
        return account.kind == SourceKind::Card         ? "card"
               : account.kind == SourceKind::Investment ? "investment"
                                                        : "bank";
    }
    std::string text = account.account;
    if (detail > 0 && !account.type.empty()) text += " " + account.type;
    if (detail > 1 && !account.bank.empty()) text += " " + account.bank;
    return text;
}

void COfxAccounts::Name(std::vector<ImportSource>& sources) const {
    std::unordered_map<std::string, int> uses;
    for (int detail = 0; detail < 3; ++detail) {
        uses.clear();
        for (const ImportSource& source : sources) ++uses[source.name];
        for (size_t i = 0; i < sources.size(); ++i) {
            if (detail == 0 || uses[sources[i].name] > 1) sources[i].name = NameOf(i, detail);
        }
    }
    uses.clear();
    for (size_t i = 0; i < sources.size(); ++i) {
        ImportSource& source = sources[i];
        const int use = ++uses[source.name];
        if (use > 1) source.name += " (" + std::to_string(use) + ")";
        source.number = m_first[i].account;
        // A credit line is no bank account to speak of, and no card.
        const bool isCreditLine = EqualIgnoringAsciiCase(m_first[i].type, "CREDITLINE");
        source.kind = isCreditLine ? SourceKind::Unknown : m_first[i].kind;
    }
}

}  // namespace quillon
