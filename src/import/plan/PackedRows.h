#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "import/text/TextPool.h"

namespace quillon {

// A record of a plan as it is kept: texts by where they stand or by number.
struct PackedRow {
    int64_t line = 0;
    int64_t date = 0;     // midnight UTC
    double amount = 0.0;  // signed
    int64_t fitId = 0;
    int32_t check = 0;
    uint32_t payee = 0;           // a number of the plan's, 0: none
    uint32_t category = 0;        // the same
    std::string_view electronic;  // kElectronicAtm and its kin, or empty
    bool dateRead = true;
    bool amountRead = true;
    std::string_view memo;
    std::string_view idText;
};

// The rows of a plan, packed: most numbers of a row differ little from those of the row
// before it, so that a row takes some 15 bytes where a struct would take 100. A file of
// short records becomes rows that are not much longer than it.
//
//   Order      Rows are added at the end and never change.
//   Access     Row(i) reads up to kBlock rows; CReader reads all of them in order.
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows the pool, for memos and identifiers that lie not in its home, and
//              the home itself.
class CPackedRows {
    // Of the row before, in the same block.
    struct Before {
        int64_t line = 0;
        int64_t day = 0;
        int64_t fitId = 0;
        int64_t text = 0;  // where its last text at home stands
    };

public:
    static constexpr size_t kBlock = 16;

    // `home` is that of the pool that the calls get.
    explicit CPackedRows(std::string_view home = {}) : m_home(home) {}

    void Add(const PackedRow& row, CTextPool& texts);
    size_t Size() const { return m_size; }
    PackedRow Row(size_t index, const CTextPool& texts) const;

    class CReader {
    public:
        CReader(const CPackedRows& rows, const CTextPool& texts) : m_rows(rows), m_texts(texts) {}
        // False behind the last row.
        bool Next(PackedRow& row);

    private:
        friend class CPackedRows;
        int64_t TakeNumber();
        double TakeAmount(bool isCents);
        std::string_view TakeText();

        const CPackedRows& m_rows;
        const CTextPool& m_texts;
        size_t m_index = 0;
        size_t m_at = 0;  // in the bytes
        Before m_before;
    };

private:
    void PutNumber(int64_t number);
    void PutAmount(double amount, bool isCents);
    void PutText(std::string_view text, CTextPool& texts);

    std::string_view m_home;
    std::vector<uint8_t> m_bytes;
    std::vector<size_t> m_blocks;  // where every kBlock-th row begins
    size_t m_size = 0;
    Before m_before;
};

}  // namespace quillon
