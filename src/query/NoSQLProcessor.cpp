#include "query/NoSQLProcessor.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "foundation/OutOfMemory.h"
#include "query/NoSQLEvaluator.h"
#include "query/NoSQLSegmentScan.h"

namespace quillon {
namespace {

// The outcome of the segments so far.
class CRowSelection {
public:
    // Rows of all these segments; their order does not change the outcome.
    void StartWithAll(std::vector<CNoSQLSegmentScan>& scans) {
        std::vector<CNoSQLSegmentScan*> order;
        order.reserve(scans.size());
        for (CNoSQLSegmentScan& scan : scans) {
            if (scan.MatchesNothing()) return;
            const bool absorbed =
                std::any_of(order.begin(), order.end(),
                            [&](CNoSQLSegmentScan* earlier) { return earlier->Absorb(scan); });
            if (!absorbed) order.push_back(&scan);
        }
        std::iter_swap(
            order.begin(),
            std::min_element(order.begin(), order.end(), [](const auto* a, const auto* b) {
                return a->CollectCost() < b->CollectCost();
            }));
        std::stable_sort(order.begin() + 1, order.end(), [](const auto* a, const auto* b) {
            return a->TestCost() < b->TestCost();
        });
        Add(*order.front());
        for (size_t i = 1; i < order.size(); ++i) Keep(*order[i]);
    }

    void Add(CNoSQLSegmentScan& scan) {
        scan.Collect(m_rows);
        m_isSet = false;
        m_unreadable += scan.UnreadableRows();
    }

    void Keep(CNoSQLSegmentScan& scan) {
        MakeSet();
        const auto count = static_cast<int64_t>(m_rows.size());
        if (scan.MatchesNothing()) {
            m_rows.clear();
        } else if (scan.CollectCost() < count) {
            std::vector<int64_t> kept;
            scan.Collect(kept);
            CNoSQLEvaluator::MakeSet(kept);
            CNoSQLEvaluator::Intersect(m_rows, kept);
        } else {
            scan.Filter(m_rows);
        }
        m_unreadable += scan.UnreadableRows();
    }

    int64_t UnreadableRows() const { return m_unreadable; }
    std::vector<int64_t> TakeRows() {
        MakeSet();
        return std::move(m_rows);
    }

private:
    // Put off while rows are only added.
    void MakeSet() {
        if (!m_isSet) CNoSQLEvaluator::MakeSet(m_rows);
        m_isSet = true;
    }

    std::vector<int64_t> m_rows;
    bool m_isSet = true;
    int64_t m_unreadable = 0;
};

std::vector<int64_t> AllRows(const CTableManager& table) {
    std::vector<int64_t> rows;
    rows.reserve(static_cast<size_t>(std::max<int64_t>(table.RowCount(), 0)));
    table.WalkRows([&](int64_t rowId) {
        rows.push_back(rowId);
        return true;
    });
    CNoSQLEvaluator::MakeSet(rows);
    return rows;
}

}  // namespace

bool CNoSQLProcessor::Run(CNoSQLDatabaseResults& results) {
    results.Release();
    if (!m_clause.IsComplete()) return false;
    const CLockScope lock(m_clause.Database()->Lock());
    return FalseWhenOutOfMemory([&] {
        const CTableManager& table = *m_clause.Table();
        const auto& segments = m_clause.Segments();
        const auto& connectors = m_clause.Connectors();
        if (segments.empty()) {
            results.Assign(*m_clause.Database(), table, AllRows(table), 0);
            return true;
        }
        // Up to the first `or` every segment only narrows, so they may be taken in any order.
        const auto firstOr =
            std::find_if(connectors.begin(), connectors.end(),
                         [](WhereConnector connector) { return connector != WhereConnector::And; });
        const auto leading = static_cast<size_t>(firstOr - connectors.begin()) + 1;
        std::vector<CNoSQLSegmentScan> scans;
        scans.reserve(leading);
        for (size_t i = 0; i < leading; ++i) {
            if (scans.emplace_back(segments[i], table).Failed()) return false;
        }

        CRowSelection selection;
        selection.StartWithAll(scans);
        for (size_t i = leading; i < segments.size(); ++i) {
            CNoSQLSegmentScan scan(segments[i], table);
            if (scan.Failed()) return false;
            if (connectors[i - 1] == WhereConnector::And) {
                selection.Keep(scan);
            } else {
                selection.Add(scan);
            }
        }
        const int64_t unreadable = selection.UnreadableRows();
        results.Assign(*m_clause.Database(), table, selection.TakeRows(), unreadable);
        return true;
    });
}

}  // namespace quillon
