#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import/plan/ImportNoteCode.h"
#include "import/plan/ImportValue.h"

namespace quillon {

struct ImportNote {
    ImportNoteCode code{};
    int64_t line = 0;  // from 1 in the file; 0: the file as a whole
    std::vector<ImportValue> values = {};
    // One note may stand for many lines that say the same.
    int64_t count = 1;
    int64_t lastLine = 0;  // of those; 0: there is one only
};

// A value on its way into a note; texts are borrowed.
class ImportArgument {
public:
    ImportArgument(std::string_view text) : m_kind(Kind::Text), m_text(text) {}
    ImportArgument(const std::string& text) : ImportArgument(std::string_view(text)) {}
    ImportArgument(std::integral auto number)
        : m_kind(Kind::Number), m_number(static_cast<int64_t>(number)) {}
    ImportArgument(double amount) : m_kind(Kind::Amount), m_amount(amount) {}

    // Notes that differ in it have different causes: a text but for its digits, an amount in
    // how many thousands it has.
    static ImportArgument Apart(ImportArgument argument) {
        argument.m_tells = true;
        return argument;
    }

    // The value itself; of a long text the beginning.
    ImportValue Value() const;
    bool Is(const ImportValue& value) const;
    // Adds what it tells of the cause.
    void AddTo(std::string& cause) const;

private:
    enum class Kind : uint8_t { Text, Number, Amount };
    std::string_view Text() const;

    Kind m_kind;
    bool m_tells = false;
    std::string_view m_text;
    int64_t m_number = 0;
    double m_amount = 0.0;
};

// Collects the notes of an import. What has one cause on many lines becomes one note, with
// its count, first and last line, so that a file with a habit of its own, or a damaged one
// of a million lines, is told of in a few lines and nothing is left uncounted.
//
//   Causes     Notes of one code, whatever their texts and numbers are, but for what is
//              marked Apart and the signs of amounts.
//   One note   A cause on more lines than kListedPerCause, where its values are all equal or
//              at least half of the file's records have it; where both hold, on more than
//              kListedOfAll.
//   Listed     Everything else line by line, up to kListedPerSubject notes of a subject; the
//              rest is summed by cause.
//   Memory     Bounded, but where every note is asked for.
//   Errors     std::bad_alloc passes through.
class CImportNotes {
public:
    static constexpr int64_t kListedPerSubject = 100;
    static constexpr int64_t kListedPerCause = 10;
    static constexpr int64_t kListedOfAll = 3;

    // With `every` each note is kept by itself.
    explicit CImportNotes(bool every = false) : m_every(every) {}

    void Add(ImportNoteCode code, int64_t line, std::span<const ImportArgument> values);
    void Add(ImportNoteCode code, int64_t line, std::initializer_list<ImportArgument> values = {}) {
        Add(code, line, std::span(values.begin(), values.size()));
    }
    // The notes in file order, those of the whole file first; none are left. `records`: how
    // many records the file has.
    std::vector<ImportNote> Take(int64_t records = 0);

private:
    static constexpr size_t kMostCauses = 300;

    struct Cause {
        ImportNoteCode code{};
        std::vector<ImportValue> values;  // of the first
        int64_t count = 0;
        int64_t line = 0;
        int64_t lastLine = 0;
        bool sameValues = true;
        // Those that are not listed.
        std::vector<ImportValue> restValues;
        int64_t restCount = 0;
        int64_t restLine = 0;
        int64_t restLastLine = 0;
    };
    struct Listed {
        ImportNote note;
        size_t cause = 0;
    };

    size_t CauseOf(ImportNoteCode code, std::span<const ImportArgument> values);
    bool IsOneNote(const Cause& cause, int64_t records) const;

    bool m_every;
    std::vector<Cause> m_causes;
    std::unordered_map<std::string, size_t> m_byKey;
    std::vector<Listed> m_listed;
    std::array<int64_t, static_cast<size_t>(ImportNoteSubject::kCount)> m_listedOfSubject{};
    std::string m_key;  // kept for its memory
};

}  // namespace quillon
