#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "import/plan/ImportSource.h"
#include "import/text/TextScan.h"

namespace quillon {

// The accounts of a file in the order of their first register, the same in every walk.
// std::bad_alloc passes through.
class CQifSources {
public:
    // The index of the register's account. `account` is empty where no block names it; then
    // the type stands for it.
    size_t Take(std::string_view account, std::string_view type) {
        const bool isCard = EqualIgnoringAsciiCase(type, "CCard");
        const bool isInvestment =
            EqualIgnoringAsciiCase(type, "Invst") || EqualIgnoringAsciiCase(type, "Port");
        const bool isBank = EqualIgnoringAsciiCase(type, "Bank");
        ImportSource source;
        source.name = account.empty() ? std::string(type.empty() ? "Bank" : type)
                                      : std::string(account.substr(0, kLongestName));
        const auto [place, isNew] = m_byName.try_emplace(source.name, m_all.size());
        if (!isNew) return place->second;
        source.number = account.substr(0, kLongestName);
        source.kind = isCard         ? SourceKind::Card
                      : isInvestment ? SourceKind::Investment
                      : isBank       ? SourceKind::Bank
                                     : SourceKind::Unknown;
        m_all.push_back(std::move(source));
        return m_all.size() - 1;
    }

    std::vector<ImportSource> m_all;

private:
    static constexpr size_t kLongestName = 100;  // bytes
    std::unordered_map<std::string, size_t> m_byName;
};

}  // namespace quillon
