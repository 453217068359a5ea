#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "import/qif/QifRecords.h"

namespace quillon {

// Lines that follow each other, of which the text keeps the contents. Borrows it.
class COpenLines {
public:
    explicit COpenLines(const CReadOnlyTextFileManager& text) : m_text(text) {}

    // `line` follows the last one, if there is any.
    void Append(int64_t line) {
        if (m_count++ == 0) m_first = line;
    }
    void DropFirst(size_t count) {
        m_first += static_cast<int64_t>(count);
        m_count -= count;
    }
    void DropLast() { --m_count; }
    void Clear() { m_count = 0; }

    bool IsEmpty() const { return m_count == 0; }
    size_t Size() const { return m_count; }
    int64_t LineOf(size_t index) const { return m_first + static_cast<int64_t>(index); }
    // What stands in the line behind the ends of earlier records.
    std::string_view operator[](size_t index) const;

private:
    const CReadOnlyTextFileManager& m_text;
    int64_t m_first = 0;  // from 1
    size_t m_count = 0;
};

// Makes records of lines, by the letters that they begin with. Behind the first split the
// letters speak of splits.
//
//   Errors   std::bad_alloc passes through.
class CQifRecordBuilder {
public:
    enum class Place { Register, AccountBlock };

    // The record of the open lines from `from` up to `to`, of the account's register. Not
    // closed by "^"; that is the caller's to say.
    void Build(const COpenLines& lines, size_t from, size_t to, std::string_view account,
               Place place);
    // The last one; its views are into the lines' text.
    QifRecord& Record() { return m_record; }
    const QifRecord& Record() const { return m_record; }
    // A memo or a cleared mark: no account has one.
    bool HasMark() const { return m_hasMark; }
    // What an account's block states.
    std::string_view Balance() const { return m_balance; }

private:
    void TakeField(int64_t line, char letter, std::string_view value);
    void TakeDate(int64_t line, std::string_view value);
    void TakeAmount(int64_t line, std::string_view value);
    void TakeSplitAmount(int64_t line, std::string_view value);

    QifRecord m_record;
    Place m_place = Place::Register;
    size_t m_splitCategories = 0;
    bool m_inSplits = false;
    bool m_hasMark = false;
    std::string_view m_balance;
};

// Date and amount, and both can be read: no list holds such records.
bool IsWhole(const QifRecord& record);
bool IsReadableQifDate(std::string_view text);

}  // namespace quillon
