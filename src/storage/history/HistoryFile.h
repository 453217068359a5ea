#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "storage/history/HistoryFormat.h"
#include "storage/journal/BracketParticipant.h"

namespace quillon {

class CFileInterface;
class CJournal;

// What reading a part came to.
enum class HistoryRead {
    Ok,
    Damaged,  // it is not as it was written, or there is none
    Failed,   // the disk does not give it; the next time it may
};

// The file History.dat: parts that are done, behind them parts that were taken back.
//
//   Brackets   What changes the file belongs to the open bracket; rolled back with it.
//   Order      Parts of one action follow each other. A place in the file is where a part begins.
//   Damage     A file whose header cannot be believed is a history that is lost: it is empty, and
//              made anew by the first part. A damaged part is told when it is read.
//   Errors     false. std::bad_alloc passes through.
//   Ownership  Borrows the journal.
//   Threads    The owner's, one at a time.
class CHistoryFile final : public CBracketParticipant {
public:
    explicit CHistoryFile(CJournal& journal) : m_journal(journal) {}
    ~CHistoryFile() override;

    // A file of a newer version is lost as well; the store does not open beside one.
    enum class OpenResult { Ok, Lost, Unreadable };
    OpenResult Open(const std::string& path);
    void Close();

    const HistoryHeader& Header() const { return m_header; }
    bool HasDone() const { return m_header.done > m_header.first; }
    bool HasUndone() const { return m_header.end > m_header.done; }

    // Where the part begins that ends at a place.
    HistoryRead Before(int64_t end, int64_t& at) const;
    // The part that was done last.
    HistoryRead LastDone(int64_t& at) const { return Before(m_header.done, at); }
    // A whole part, as it was written.
    HistoryRead ReadPart(int64_t at, std::vector<uint8_t>& bytes) const;
    // What stands in front of its changes, and how long it is.
    HistoryRead ReadHead(int64_t at, HistoryPart& head, int64_t& length) const;
    // Visits the parts between two places; stops when the visitor says false, or at one that
    // cannot be read.
    using VisitHead = std::function<bool(int64_t at, int64_t length, const HistoryPart& head)>;
    HistoryRead Walk(int64_t from, int64_t to, const VisitHead& visit) const;

    // Puts a part behind those that are done. What was taken back goes: nothing leads there any
    // more. The part is that of the next action, or of the one done last.
    [[nodiscard]] bool Append(const std::vector<uint8_t>& part, bool isNextAction);
    // Everything before the place is done, everything behind it is not.
    [[nodiscard]] bool SetDone(int64_t at);
    // Drops the oldest actions until there are no more of either than that, but never the newest
    // one; gives the file's room back when most of it is unused.
    [[nodiscard]] bool Trim(int64_t mostActions, int64_t mostBytes);

    bool OnBracketCommitted() override;
    bool OnBracketRolledBack() override;

private:
    [[nodiscard]] bool Write(int64_t at, const std::vector<uint8_t>& bytes, bool cut);
    [[nodiscard]] bool WriteHeader();
    [[nodiscard]] bool Compact();
    void DropUndone();
    [[nodiscard]] bool DropAll();
    bool OpenToRead(CFileInterface& file) const;
    bool ReadBytes(int64_t at, std::vector<uint8_t>& bytes) const;
    HistoryRead ReadHead(const CFileInterface& file, int64_t at, HistoryPart& head,
                         int64_t& length) const;
    void Touch();

    CJournal& m_journal;
    std::string m_path;
    HistoryHeader m_header;
    HistoryHeader m_before;  // when the bracket began
    bool m_exists = false;   // the file holds m_header
    bool m_existed = false;
    bool m_touched = false;
};

}  // namespace quillon
