#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quillon {

struct ImportNote {
    int64_t line = 0;  // from 1 in the file; 0: the file as a whole
    std::string text;
    // One note may stand for many lines that say the same. The text then says so.
    int64_t count = 1;
    int64_t lastLine = 0;  // of those; 0: there is one only
};

// Collects the notes of an import. What has one cause on many lines becomes one note, with
// its count, first and last line, so that a file with a habit of its own, or a damaged one
// of a million lines, is told of in a few lines and nothing is left uncounted.
//
//   Causes     Notes of one kind whose texts are the same but for numbers and quoted pieces.
//   One note   A cause on more lines than kListedPerCause, where its texts are all equal or
//              at least half of the file's records have it; where both hold, on more than
//              kListedOfAll.
//   Listed     Everything else line by line, up to kListedPerKind notes of a kind; the rest
//              is summed by cause.
//   Memory     Bounded, but where every note is asked for.
//   Errors     std::bad_alloc passes through.
class CImportNotes {
public:
    enum class Kind {
        Dialect,
        File,
        Date,
        Amount,
        Payee,
        Number,
        Identifier,
        Transfer,
        Splits,
        Skipped,
        Repeated,
        Differs,
        Record,
        Currency,
        Type,
        kCount,
    };
    static constexpr int64_t kListedPerKind = 100;
    static constexpr int64_t kListedPerCause = 10;
    static constexpr int64_t kListedOfAll = 3;

    // With `every` each note is kept by itself.
    explicit CImportNotes(bool every = false) : m_every(every) {}

    void Add(Kind kind, int64_t line, std::string_view text);
    // The notes in file order, those of the whole file first; none are left. `records`: how
    // many records the file has.
    std::vector<ImportNote> Take(int64_t records = 0);

private:
    static constexpr size_t kMostCauses = 300;

    struct Cause {
        std::string text;  // of the first
        int64_t count = 0;
        int64_t line = 0;
        int64_t lastLine = 0;
        bool sameText = true;
        // Those that are not listed.
        std::string restText;
        int64_t restCount = 0;
        int64_t restLine = 0;
        int64_t restLastLine = 0;
    };
    struct Listed {
        int64_t line = 0;
        std::string text;
        size_t cause = 0;
    };

    size_t CauseOf(Kind kind, std::string_view text);
    bool IsOneNote(const Cause& cause, int64_t records) const;

    bool m_every;
    std::vector<Cause> m_causes;
    std::unordered_map<std::string, size_t> m_byShape;
    std::vector<Listed> m_listed;
    std::array<int64_t, static_cast<size_t>(Kind::kCount)> m_listedOfKind{};
    std::string m_shape;  // kept for its memory
};

}  // namespace quillon
