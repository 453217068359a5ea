#include "presenters/register/RegisterOrder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <utility>

#include "finance/ledger/Balance.h"
#include "storage/index/RadixSort.h"

namespace quillon {

namespace {

constexpr size_t kBlock = 512;
constexpr size_t kLargestBlock = 2 * kBlock;

// Up to here (a thousand million) every sum of two whole-cent doubles lies within what
// SettledSum takes for a whole cent, so that adding integers gives the same doubles.
constexpr int64_t kMostCents = 100'000'000'000;

double FromCents(int64_t cents) {
    return cents == 0 ? 0.0 : static_cast<double>(cents) / 100.0;
}

bool ToCents(double amount, int64_t& cents) {
    if (!(std::fabs(amount) <= static_cast<double>(kMostCents) / 100.0)) return false;
    const double scaled = amount * 100.0;
    cents = static_cast<int64_t>(scaled + (scaled < 0 ? -0.5 : 0.5));
    return static_cast<double>(cents) / 100.0 == amount;
}

}  // namespace

double CRegisterOrder::After(double balance, uint32_t slot) const {
    return SettledSum(balance + m_data.effects[slot]);
}

double CRegisterOrder::EndOf(const Block& block) const {
    int64_t start = 0;
    if (block.odd == 0 && ToCents(block.start, start) &&
        std::abs(start) + block.magnitude <= kMostCents) {
        return FromCents(start + block.cents);
    }
    double balance = block.start;
    for (const uint32_t slot : block.slots) balance = After(balance, slot);
    return balance;
}

void CRegisterOrder::Count(Block& block, uint32_t slot, int sign) const {
    int64_t cents = 0;
    if (ToCents(m_data.effects[slot], cents)) {
        block.cents += sign * cents;
        block.magnitude += sign * std::abs(cents);
    } else {
        block.odd += static_cast<uint32_t>(sign);
    }
}

void CRegisterOrder::Recount(Block& block) const {
    block.cents = block.magnitude = 0;
    block.odd = 0;
    for (const uint32_t slot : block.slots) Count(block, slot, 1);
}

void CRegisterOrder::Build() {
    std::vector<uint32_t> slots(m_data.ids.size());
    std::iota(slots.begin(), slots.end(), 0U);
    const bool inOrder = std::is_sorted(
        slots.begin(), slots.end(), [this](uint32_t a, uint32_t b) { return m_data.Before(a, b); });
    if (!inOrder) {
        // Keys beside the slots: the sorts stay within what they move.
        std::vector<std::pair<int64_t, uint32_t>> keys(slots.size());
        const auto sortBy = [&](const std::vector<int64_t>& column) {
            for (size_t i = 0; i < keys.size(); ++i) keys[i] = {column[slots[i]], slots[i]};
            RadixSort(keys, [](const auto& key) { return key.first; });
            for (size_t i = 0; i < keys.size(); ++i) slots[i] = keys[i].second;
        };
        if (!std::is_sorted(m_data.ids.begin(), m_data.ids.end())) sortBy(m_data.ids);
        sortBy(m_data.dates);
    }
    m_blocks.clear();
    m_blocks.reserve(slots.size() / kBlock + 1);
    for (size_t i = 0; i < slots.size(); i += kBlock) {
        const size_t end = std::min(i + kBlock, slots.size());
        Block& block = m_blocks.emplace_back();
        block.slots.assign(slots.begin() + static_cast<std::ptrdiff_t>(i),
                           slots.begin() + static_cast<std::ptrdiff_t>(end));
        Recount(block);
    }
    m_count = slots.size();
    Refresh(0);
}

void CRegisterOrder::Refresh(size_t index) {
    m_summedBlock = SIZE_MAX;
    for (; index < m_blocks.size(); ++index) {
        Block& block = m_blocks[index];
        block.first = 0;
        block.start = 0.0;
        if (index == 0) continue;
        const Block& before = m_blocks[index - 1];
        block.first = before.first + before.slots.size();
        block.start = EndOf(before);
    }
}

size_t CRegisterOrder::BlockOf(uint32_t slot) const {
    const auto behind = std::upper_bound(
        m_blocks.begin(), m_blocks.end(), slot,
        [this](uint32_t key, const Block& block) { return m_data.Before(key, block.slots[0]); });
    return behind == m_blocks.begin() ? 0 : static_cast<size_t>(behind - m_blocks.begin()) - 1;
}

size_t CRegisterOrder::BlockAt(size_t position) const {
    const auto behind =
        std::upper_bound(m_blocks.begin(), m_blocks.end(), position,
                         [](size_t key, const Block& block) { return key < block.first; });
    return static_cast<size_t>(behind - m_blocks.begin()) - 1;
}

size_t CRegisterOrder::PlaceIn(const Block& block, uint32_t slot) const {
    const auto place =
        std::lower_bound(block.slots.begin(), block.slots.end(), slot,
                         [this](uint32_t a, uint32_t b) { return m_data.Before(a, b); });
    return static_cast<size_t>(place - block.slots.begin());
}

void CRegisterOrder::Insert(uint32_t slot) {
    if (m_blocks.empty()) m_blocks.emplace_back();
    const size_t index = m_count == 0 ? 0 : BlockOf(slot);
    Block& block = m_blocks[index];
    block.slots.insert(block.slots.begin() + static_cast<std::ptrdiff_t>(PlaceIn(block, slot)),
                       slot);
    Count(block, slot, 1);
    ++m_count;
    SplitIfLarge(index);
    Refresh(index);
}

void CRegisterOrder::SplitIfLarge(size_t index) {
    if (m_blocks[index].slots.size() < kLargestBlock) return;
    Block behind;
    behind.slots.assign(m_blocks[index].slots.begin() + kBlock, m_blocks[index].slots.end());
    m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(behind));
    m_blocks[index].slots.resize(kBlock);
    Recount(m_blocks[index]);
    Recount(m_blocks[index + 1]);
}

void CRegisterOrder::Erase(uint32_t slot) {
    const size_t index = BlockOf(slot);
    Block& block = m_blocks[index];
    block.slots.erase(block.slots.begin() + static_cast<std::ptrdiff_t>(PlaceIn(block, slot)));
    Count(block, slot, -1);
    --m_count;
    if (block.slots.empty()) m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(index));
    Refresh(index);
}

uint32_t CRegisterOrder::SlotAt(size_t position) const {
    const Block& block = m_blocks[BlockAt(position)];
    return block.slots[position - block.first];
}

size_t CRegisterOrder::PositionOf(uint32_t slot) const {
    const Block& block = m_blocks[BlockOf(slot)];
    return block.first + PlaceIn(block, slot);
}

double CRegisterOrder::BalanceAt(size_t position) const {
    const size_t index = BlockAt(position);
    const Block& block = m_blocks[index];
    if (m_summedBlock != index) {
        m_summedBlock = SIZE_MAX;
        m_balances.resize(block.slots.size());
        double balance = block.start;
        for (size_t i = 0; i < block.slots.size(); ++i) {
            balance = m_balances[i] = After(balance, block.slots[i]);
        }
        m_summedBlock = index;
    }
    return m_balances[position - block.first];
}

size_t CRegisterOrder::CountUntil(int64_t date) const {
    const auto isLater = [this](int64_t key, uint32_t slot) { return key < m_data.dates[slot]; };
    const auto behind = std::upper_bound(
        m_blocks.begin(), m_blocks.end(), date,
        [&](int64_t key, const Block& block) { return isLater(key, block.slots[0]); });
    if (behind == m_blocks.begin()) return 0;
    const Block& block = *(behind - 1);
    const auto place = std::upper_bound(block.slots.begin(), block.slots.end(), date, isLater);
    return block.first + static_cast<size_t>(place - block.slots.begin());
}

}  // namespace quillon
