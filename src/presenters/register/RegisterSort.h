#pragma once

#include <cstdint>
#include <vector>

#include "finance/names/NameTables.h"
#include "presenters/register/RegisterColumns.h"
#include "presenters/register/RegisterRows.h"
#include "presenters/register/RegisterTexts.h"

namespace quillon {

// A register in the order of one of its columns. Rows that are even there stay in register
// order, upwards and downwards alike.
//
//   Order      Names and memos ignoring case; numbers before kinds of electronic payment; what
//              the column leaves empty comes first going up.
//   Ownership  Borrows rows, texts and names, which must outlive it.
//   Errors     std::bad_alloc.
class CRegisterSort {
public:
    CRegisterSort(const CRegisterRows& rows, CRegisterTexts& texts, const CNameTables& names)
        : m_rows(rows), m_texts(texts), m_names(names) {}

    // `slots` in register order.
    void Sort(std::vector<uint32_t>& slots, RegisterColumn column, bool ascending);
    // Whether a row stands before another: the same order, for one row that is put into it.
    // Not for Balance, whose values change with rows elsewhere.
    bool Before(uint32_t a, uint32_t b, RegisterColumn column, bool ascending);

private:
    void SortByNumbers(std::vector<uint32_t>& slots, RegisterColumn column, bool ascending);
    // For every slot.
    void ReadKeys(RegisterColumn column, std::vector<double>& keys);
    void RankNames(const std::vector<int64_t>& ids, bool payees, std::vector<double>& keys);
    double NumberKey(uint32_t slot, RegisterColumn column);
    int Compare(uint32_t a, uint32_t b, RegisterColumn column);

    const CRegisterRows& m_rows;
    CRegisterTexts& m_texts;
    const CNameTables& m_names;
};

}  // namespace quillon
