#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillon {

// Rows of an account as columns. A row's place in all of them is its slot, which it keeps as
// long as it is in the account; slots of rows that are gone stay empty until the next load.
struct RegisterData {
    std::vector<int64_t> ids;
    std::vector<int64_t> dates;  // file times
    std::vector<int64_t> payees;
    std::vector<int64_t> categories;
    std::vector<int32_t> types;
    std::vector<int32_t> checks;
    std::vector<double> effects;  // positive into the account

    // In register order: by date, then row identifier.
    bool Before(uint32_t a, uint32_t b) const {
        return dates[a] != dates[b] ? dates[a] < dates[b] : ids[a] < ids[b];
    }
};

// The slots of an account in register order, and the balance after each, as
// finance/ledger/AccountRegister.h computes it, to the bit.
//
//   Cost     Slots lie in blocks, each with the balance before it and the sum of its effects:
//            a change anywhere costs one block and one step for each block behind it. A balance
//            is added up inside its block when it is asked for.
//   Exact    Sums of whole cents are sums of integers; where an effect is none, or sums grow
//            beyond what doubles settle, balances are added up one by one.
//   Errors   std::bad_alloc.
//   Threads  One; reading, too, remembers what it read.
class CRegisterOrder {
public:
    // Borrows `data`, which must outlive it.
    explicit CRegisterOrder(const RegisterData& data) : m_data(data) {}

    // All slots of the data.
    void Build();
    void Insert(uint32_t slot);
    // With the date that it was inserted with.
    void Erase(uint32_t slot);

    size_t Count() const { return m_count; }
    uint32_t SlotAt(size_t position) const;
    size_t PositionOf(uint32_t slot) const;
    double BalanceAt(size_t position) const;
    // Rows of that date and earlier ones.
    size_t CountUntil(int64_t date) const;

    // visit(slot, balance) in register order.
    template <typename Visit>
    void WalkBalances(Visit visit) const {
        double balance = 0.0;
        for (const Block& block : m_blocks) {
            for (const uint32_t slot : block.slots) {
                balance = After(balance, slot);
                visit(slot, balance);
            }
        }
    }
    // visit(slot) in register order.
    template <typename Visit>
    void Walk(Visit visit) const {
        for (const Block& block : m_blocks) {
            for (const uint32_t slot : block.slots) visit(slot);
        }
    }

private:
    struct Block {
        std::vector<uint32_t> slots;
        int64_t cents = 0;      // sum of the effects, where all are whole cents
        int64_t magnitude = 0;  // sum of them without signs
        uint32_t odd = 0;       // effects that are not
        size_t first = 0;       // position of the first slot
        double start = 0.0;     // balance before it
    };

    double After(double balance, uint32_t slot) const;
    double EndOf(const Block& block) const;
    void Count(Block& block, uint32_t slot, int sign) const;
    void Recount(Block& block) const;
    // The last block that begins no later than the slot.
    size_t BlockOf(uint32_t slot) const;
    size_t BlockAt(size_t position) const;
    size_t PlaceIn(const Block& block, uint32_t slot) const;
    void SplitIfLarge(size_t index);
    // Positions and balances from that block on.
    void Refresh(size_t index);

    const RegisterData& m_data;
    std::vector<Block> m_blocks;  // none is empty
    size_t m_count = 0;
    mutable size_t m_summedBlock = SIZE_MAX;  // whose balances m_balances holds
    mutable std::vector<double> m_balances;
};

}  // namespace quillon
