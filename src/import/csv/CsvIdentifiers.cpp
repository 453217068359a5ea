#include "import/csv/CsvIdentifiers.h"

#include "foundation/TextHash.h"
#include "import/ofx/OfxValues.h"

namespace quillon {

int64_t CCsvIdentifiers::Make(std::string& key) {
    const int64_t occurrence = ++m_made[TextHash(key)];
    if (occurrence > 1) key.append("#").append(std::to_string(occurrence));
    return MadeStatementId(key);
}

int64_t CCsvIdentifiers::OwnIdOf(int64_t id, std::string_view key) {
    return MadeStatementId(std::to_string(id).append("|").append(key));
}

void CCsvIdentifiers::Look(int64_t id, std::string_view key, int64_t line) {
    const auto [found, isNew] = m_owners.try_emplace(id);
    Owner& owner = found->second;
    if (isNew) {
        owner.ownId = OwnIdOf(id, key);
        owner.line = line;
        return;
    }
    owner.isShared = true;
    owner.differs = owner.differs || OwnIdOf(id, key) != owner.ownId;
}

CCsvIdentifiers::Finding CCsvIdentifiers::Mark(ImportRecord& record, std::string_view key,
                                               bool mayRecur, int64_t& firstLine) {
    const auto found = m_owners.find(record.fitId);
    if (found == m_owners.end() || !found->second.isShared) return Finding::Unique;
    const Owner& owner = found->second;
    firstLine = owner.line;
    if (!m_said.insert(OwnIdOf(record.fitId, key)).second && !mayRecur) {
        record.saidBefore = true;
        return Finding::Repeated;
    }
    record.idShared = owner.differs || mayRecur;
    return record.line == owner.line ? Finding::Unique : Finding::Shared;
}

}  // namespace quillon
