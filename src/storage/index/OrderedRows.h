#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace quillon {

// Row ids in the order of (value, row id), kept in blocks of bounded size so that
// inserting and erasing move a few kilobytes at the most. The values stay with
// the owner: every call gets a function from row id to value, which must answer for every row
// that is in here as it did when the row came in.
//
//   Errors     std::bad_alloc, from Build, Insert and Append; Insert then leaves the order unusable
//              but for Clear.
//   Positions  are valid until the next Insert, Erase, Build or Clear.
//   Threads    None; callers hold the index's lock.
class COrderedRows {
public:
    struct Position {
        size_t block = 0;
        size_t index = 0;
        friend bool operator==(const Position&, const Position&) = default;
    };

    void Clear() {
        m_blocks.clear();
        m_count = 0;
    }

    // `sorted` holds (value, row id) in ascending order.
    void Build(const std::vector<std::pair<int64_t, int64_t>>& sorted) {
        Clear();
        m_count = sorted.size();
        for (size_t start = 0; start < sorted.size(); start += kBlockRows) {
            const size_t end = std::min(start + kBlockRows, sorted.size());
            std::vector<int64_t> block;
            block.reserve(end - start);
            for (size_t i = start; i < end; ++i) block.push_back(sorted[i].second);
            m_blocks.push_back(std::move(block));
        }
    }

    size_t Count() const { return m_count; }
    Position End() const { return {m_blocks.size(), 0}; }
    int64_t At(const Position& at) const { return m_blocks[at.block][at.index]; }

    Position Next(Position at) const {
        if (++at.index == m_blocks[at.block].size()) at = {at.block + 1, 0};
        return at;
    }

    // The first element that is not before (value, row).
    template <typename ValueOf>
    Position LowerBound(int64_t value, int64_t row, ValueOf valueOf) const {
        const auto before = [&](int64_t candidate) {
            const int64_t candidateValue = valueOf(candidate);
            return candidateValue < value || (candidateValue == value && candidate < row);
        };
        const auto block = std::partition_point(
            m_blocks.begin(), m_blocks.end(),
            [&](const std::vector<int64_t>& rows) { return before(rows.back()); });
        if (block == m_blocks.end()) return End();
        const auto element = std::partition_point(block->begin(), block->end(), before);
        return {static_cast<size_t>(block - m_blocks.begin()),
                static_cast<size_t>(element - block->begin())};
    }

    template <typename ValueOf>
    void Insert(int64_t value, int64_t row, ValueOf valueOf) {
        ++m_count;
        if (m_blocks.empty()) {
            m_blocks.push_back({row});
            return;
        }
        Position at = LowerBound(value, row, valueOf);
        if (at == End()) at = {m_blocks.size() - 1, m_blocks.back().size()};
        std::vector<int64_t>& block = m_blocks[at.block];
        block.insert(block.begin() + static_cast<std::ptrdiff_t>(at.index), row);
        if (block.size() > kBlockRows) Split(at.block, at.index);
    }

    // False when (value, row) is not there.
    template <typename ValueOf>
    bool Erase(int64_t value, int64_t row, ValueOf valueOf) {
        const Position at = LowerBound(value, row, valueOf);
        if (at == End() || At(at) != row) return false;
        std::vector<int64_t>& block = m_blocks[at.block];
        block.erase(block.begin() + static_cast<std::ptrdiff_t>(at.index));
        if (block.empty()) m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(at.block));
        --m_count;
        return true;
    }

    int64_t CountBetween(const Position& from, const Position& to) const {
        int64_t count = static_cast<int64_t>(to.index) - static_cast<int64_t>(from.index);
        for (size_t block = from.block; block < to.block; ++block) {
            count += static_cast<int64_t>(m_blocks[block].size());
        }
        return count;
    }

    void Append(Position from, const Position& to, std::vector<int64_t>& rows) const {
        rows.reserve(rows.size() + static_cast<size_t>(CountBetween(from, to)));
        while (from.block < to.block) {
            const std::vector<int64_t>& block = m_blocks[from.block];
            rows.insert(rows.end(), block.begin() + static_cast<std::ptrdiff_t>(from.index),
                        block.end());
            from = {from.block + 1, 0};
        }
        if (from.block == m_blocks.size()) return;
        const std::vector<int64_t>& block = m_blocks[from.block];
        rows.insert(rows.end(), block.begin() + static_cast<std::ptrdiff_t>(from.index),
                    block.begin() + static_cast<std::ptrdiff_t>(to.index));
    }

private:
    // 4 KiB a block: one insert moves 2 KiB on average.
    static constexpr size_t kBlockRows = 512;

    // In the middle, unless the insert was at the end: rows that come in ascending
    // order then leave full blocks behind.
    void Split(size_t index, size_t insertedAt) {
        std::vector<int64_t>& block = m_blocks[index];
        const size_t keep = insertedAt + 1 == block.size() ? block.size() - 1 : block.size() / 2;
        std::vector<int64_t> rest(block.begin() + static_cast<std::ptrdiff_t>(keep), block.end());
        rest.reserve(kBlockRows + 1);
        block.resize(keep);
        m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(rest));
    }

    std::vector<std::vector<int64_t>> m_blocks;  // none empty
    size_t m_count = 0;
};

}  // namespace quillon
