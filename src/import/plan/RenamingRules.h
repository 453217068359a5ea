#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillon {

class CQuillonDatabaseInterface;

// The ledger's renaming rules as they were when they were read.
//
//   Errors   Load: false, when the database cannot be read. std::bad_alloc passes through.
class CRenamingRules {
public:
    [[nodiscard]] bool Load(CQuillonDatabaseInterface& database);
    // Every rule in turn: a text that contains the rule's search text becomes its
    // replacement, so the last one that matches wins.
    std::string Apply(std::string_view text) const;

private:
    struct Rule {
        std::string search;
        std::string replacement;
    };
    std::vector<Rule> m_rules;
};

}  // namespace quillon
