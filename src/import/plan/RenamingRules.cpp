#include "import/plan/RenamingRules.h"

#include "finance/database/QuillonDatabaseInterface.h"
#include "import/text/TextScan.h"

namespace quillon {

bool CRenamingRules::Load(CQuillonDatabaseInterface& database) {
    m_rules.clear();
    COwnedList<CRenamingRuleEntry> rules;
    if (!database.List(rules)) return false;
    for (const CRenamingRuleEntry& rule : rules) {
        if (rule.searchText.IsEmpty()) continue;  // would be found in every text
        m_rules.push_back({rule.id, rule.searchText.ToUtf8(), rule.replaceText.ToUtf8()});
    }
    return true;
}

std::string CRenamingRules::Apply(std::string_view text) const {
    std::string renamed(text);
    for (const Rule& rule : m_rules) {
        if (Contains(renamed, rule.search)) renamed = rule.replacement;
    }
    return renamed;
}

std::vector<CRenamingRules::Rule> CRenamingRules::Matching(std::string_view text) const {
    std::vector<Rule> matching;
    std::string renamed(text);
    for (const Rule& rule : m_rules) {
        if (!Contains(renamed, rule.search)) continue;
        matching.push_back(rule);
        renamed = rule.replacement;
    }
    return matching;
}

}  // namespace quillon
