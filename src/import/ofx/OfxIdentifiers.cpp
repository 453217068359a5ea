#include "import/ofx/OfxIdentifiers.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "foundation/TextHash.h"
#include "import/ofx/OfxValues.h"
#include "import/text/TextScan.h"

namespace quillon {

int64_t COfxIdentifiers::IdOf(const OfxLine& line, std::string_view payee, bool& isMade) {
    const int64_t id = StatementId(line.id);
    isMade = id == 0;
    if (!isMade) return id;
    std::string joined(line.date);
    joined.append(line.amount).append(payee);
    const int64_t occurrence = ++m_made[TextHash(joined)];
    if (occurrence > 1) return StatementId(joined + "#" + std::to_string(occurrence));
    return StatementId(joined.empty() || IsDigits(joined) ? "#" + joined : joined);
}

void COfxIdentifiers::FindShared(std::vector<int64_t> ids) {
    std::sort(ids.begin(), ids.end());
    for (size_t i = 1; i < ids.size(); ++i) {
        if (ids[i] == ids[i - 1]) m_shared.try_emplace(ids[i]);
    }
}

// Of a line whose identifier others have too. What another account of the file says is
// another line, even where it says the same.
int64_t COfxIdentifiers::OwnIdOf(const Source& source, const ImportRecord& record,
                                 const SharedId& shared) {
    char amount[40];
    const std::to_chars_result end = std::to_chars(amount, amount + sizeof amount, record.amount);
    std::string text = std::to_string(record.fitId) + "|";
    if (record.dateRead) text += std::to_string(record.date);
    text.append("|").append(amount, end.ptr).append("|").append(record.payee);
    if (source.index != shared.source) text.append("|").append(source.name);
    return StatementId(text);
}

void COfxIdentifiers::Look(const Source& source, const ImportRecord& record) {
    const auto found = m_shared.find(record.fitId);
    if (found == m_shared.end()) return;
    SharedId& shared = found->second;
    if (shared.firstLine == 0) {
        shared = {record.line, source.index, 0, false, false};
        shared.ownId = OwnIdOf(source, record, shared);
    } else if (OwnIdOf(source, record, shared) != shared.ownId) {
        shared.differs = true;
    }
}

COfxIdentifiers::Finding COfxIdentifiers::Mark(const Source& source, ImportRecord& record) {
    const auto found = m_shared.find(record.fitId);
    if (found == m_shared.end()) return {};
    SharedId& shared = found->second;
    const bool isFirst = !std::exchange(shared.seen, true);
    record.ownId = OwnIdOf(source, record, shared);
    const bool sameSource = source.index == shared.source;
    if (!m_said.insert(record.ownId).second) {
        record.saidBefore = true;
        return {Finding::Kind::Repeated, shared.firstLine, sameSource};
    }
    record.idShared = shared.differs;
    if (isFirst) return {};
    return {Finding::Kind::Shared, shared.firstLine, sameSource};
}

}  // namespace quillon
