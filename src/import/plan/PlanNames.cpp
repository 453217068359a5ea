#include "import/plan/PlanNames.h"

#include "finance/records/FinanceRecords.h"

namespace quillon {

std::optional<uint32_t> CPlanNames::Add(std::string_view text, const CRenamingRules& rules,
                                        const Lookup& lookup) {
    bool isNew = false;
    const uint32_t number = m_texts.Add(text, isNew);
    if (!isNew) return number + 1;
    const std::string renamed = rules.Apply(text);
    // The file's own text, where the name is that.
    const std::string_view name = renamed == text ? m_texts[number] : std::string_view(renamed);
    m_nameOf.push_back(m_names.Add(name, isNew));
    if (isNew) {
        const bool isName = m_empty == EmptyName::IsName || !name.empty();
        const std::optional<int64_t> row = isName ? lookup(name) : kNoRow;
        if (!row) return {};
        m_rows.push_back(*row);
    }
    return number + 1;
}

std::string_view CPlanNames::InFile(uint32_t number) const {
    return number == 0 ? std::string_view() : m_texts[number - 1];
}

std::string_view CPlanNames::Name(uint32_t number) const {
    return number == 0 ? std::string_view() : m_names[NameOf(number)];
}

bool CPlanNames::WantsRow(uint32_t number) const {
    return number != 0 && (m_empty == EmptyName::IsName || !Name(number).empty());
}

bool CPlanNames::IsMissing(uint32_t number) const {
    return WantsRow(number) && RowOf(number) == kNoRow;
}

int64_t CPlanNames::RowOf(uint32_t number) const {
    return WantsRow(number) ? m_rows[NameOf(number)] : kNoRow;
}

}  // namespace quillon
