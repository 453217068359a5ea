#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "import/plan/ImportSource.h"

namespace quillon {

// A statement of a download, or what stands outside of any.
struct OfxStatement {
    SourceKind kind = SourceKind::Unknown;
    std::string account;
    std::string type;
    std::string bank;
    std::string currency;
    int64_t lines = 0;
    bool hasBalance = false;
    bool open = false;  // it has an element of its own
};

// The accounts of a download, told apart by kind, number, type and bank.
//
//   Errors   std::bad_alloc passes through.
class COfxAccounts {
public:
    // Adds a statement to the source it belongs to, which may be a new one at the end, and
    // returns that one's index.
    uint32_t Take(const OfxStatement& ended, std::vector<ImportSource>& sources,
                  std::vector<bool>& hasBalance);
    // When all are known: by the account's number, and where several have it, by what tells
    // them apart.
    void Name(std::vector<ImportSource>& sources) const;

private:
    std::string NameOf(size_t index, int detail) const;

    std::unordered_map<std::string, uint32_t> m_byKey;
    std::vector<OfxStatement> m_first;  // the first statement of each
};

}  // namespace quillon
