#pragma once

#include <cstdint>
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

    struct Rule {
        int64_t id = 0;
        std::string search;
        std::string replacement;
    };
    // The rules that match, in turn, each the text that those before it left.
    std::vector<Rule> Matching(std::string_view text) const;

private:
    std::vector<Rule> m_rules;
};

}  // namespace quillon
