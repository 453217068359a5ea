#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "storage/database/RowRecorder.h"
#include "storage/history/HistoryFile.h"

namespace quillon {

class CDatabaseManager;

// What kind of thing was done. Codes as stored.
enum class ActionKind : uint16_t {
    Change = 0,
    Import = 1,        // subject: the account; label: the file's name
    ImportUndone = 2,  // subject: the import's number; label: the file's name
};

enum class ActionState { Done, Undone, UndoneInPart };

// How many changes of a table's rows belong to an action.
struct ActionTable {
    std::string table;
    int64_t added = 0;
    int64_t changed = 0;
    int64_t deleted = 0;
};

struct HistoryAction {
    int64_t number = 0;
    int64_t time = 0;  // file time of its first commit
    ActionKind kind = ActionKind::Change;
    int64_t subject = 0;
    std::string label;  // as it was given; may be empty
    ActionState state = ActionState::Done;
    std::vector<ActionTable> tables;
};

enum class HistoryStatus {
    Ok,
    Nothing,       // nothing to undo, or to redo
    NoSuchAction,  // or it is no import where one is meant
    NotDone,       // it was undone
    RowDiffers,    // a row is not as the action left it; nothing was changed
    Damaged,       // the history cannot be read there
    StoreFailed,
};

// What undo and redo came to.
struct HistoryOutcome {
    HistoryStatus status = HistoryStatus::Ok;
    HistoryAction action;
    std::string table;  // of RowDiffers
    int64_t row = 0;
};

// A row of an action: what was done to it; false stops. Values by the table's columns; see
// HistoryFormat.h. Lives as long as the call.
using VisitChange = std::function<bool(const HistoryPart& part, const HistoryChange& change)>;
// Says whether the changes of a part are wanted.
using WantPart = std::function<bool(const HistoryPart& part)>;

// How much a history keeps: so many actions, or so many bytes of them. The usual sizes are right
// for everybody but tests, which cross smaller ones sooner.
struct HistoryRooms {
    int64_t actions = 1000;
    int64_t bytes = int64_t{64} << 20;
};

// What was done to a ledger, to take it back. A commit is an action, or part of one: its record
// stands in History.dat, in the same commit. The rows of every table count but those of Security:
// a password is not taken back by a key.
//
//   Undo       takes back the newest action that is not undone, redo the oldest that is. A row
//              that was deleted comes back under its own identifier, and every value is what it
//              was, stamps and balances included.
//   Parts      Undo and redo of an action of several commits are so many commits; each leaves the
//              ledger in order. After a stop in between it is undone in part, and undo goes on.
//   Kept       The newest, as many as HistoryRooms says, and always the last one; the oldest go
//              when the store is flushed.
//   Errors     Status or false. std::bad_alloc is a StoreFailed, save from what returns bool.
//   Ownership  Borrows the store, which must outlive it.
//   Threads    Callers hold the database's section, as CQuillonDatabaseInterface's operations do.
class CHistory final : public CRowRecorder, public CBracketParticipant {
public:
    explicit CHistory(CDatabaseManager& database);
    ~CHistory() override;
    CHistory(const CHistory&) = delete;
    CHistory& operator=(const CHistory&) = delete;

    // --- life, by CQuillonDatabaseInterface
    CHistoryFile::OpenResult Open();
    void Close();
    void SetRooms(const HistoryRooms& rooms) { m_rooms = rooms; }
    // The file was damaged, and what it held is lost.
    bool WasLost() const { return m_wasLost; }

    // --- recording
    // Names what the open batch does. Without it an action has no label.
    void Describe(ActionKind kind, std::string_view label, int64_t subject = 0);
    // Rows that change while it lives are not written down: of a ledger that is being made.
    class CPause {
    public:
        explicit CPause(CHistory& history) : m_history(history) { m_history.Pause(1); }
        ~CPause() { m_history.Pause(-1); }
        CPause(const CPause&) = delete;
        CPause& operator=(const CPause&) = delete;

    private:
        CHistory& m_history;
    };
    // The commits of this thread while it lives are one action, as long as no other one comes
    // between them; then what follows is another of the same name. The section need not be held.
    class CLongAction {
    public:
        CLongAction(CHistory& history, ActionKind kind, std::string_view label, int64_t subject);
        ~CLongAction();
        CLongAction(const CLongAction&) = delete;
        CLongAction& operator=(const CLongAction&) = delete;

    private:
        CHistory& m_history;
    };

    // --- taking back
    // `visit` sees each row as it is changed now.
    HistoryOutcome Undo(const VisitChange& visit = {});
    HistoryOutcome Redo(const VisitChange& visit = {});

    // --- looking
    // From the oldest to the newest. False: what follows the last one is damaged.
    bool List(std::vector<HistoryAction>& actions) const;
    bool Find(int64_t number, HistoryAction& action) const;
    // The changes of an action in their order.
    HistoryStatus Read(int64_t number, const VisitChange& visit) const;
    // Those of all actions that are done.
    HistoryStatus ReadDone(const WantPart& wants, const VisitChange& visit) const;
    // The next undo and redo, if any.
    std::optional<HistoryAction> NextUndo() const;
    std::optional<HistoryAction> NextRedo() const;

    // --- CRowRecorder
    bool RowAdded(const CTableManager& table, int64_t rowId,
                  const CTableRowUpdateInfo& row) override;
    bool RowChanges(const CTableManager& table, const CTableRowUpdateInfo& row) override;
    bool RowGoes(const CTableManager& table, int64_t rowId) override;
    bool BracketEnds() override;
    bool Flushing() override;
    // --- CBracketParticipant
    bool OnBracketCommitted() override;
    bool OnBracketRolledBack() override;

private:
    struct Recorded;  // a table in the open bracket
    struct Name {
        ActionKind kind = ActionKind::Change;
        std::string label;
        int64_t subject = 0;
    };
    struct Long {
        Name name;
        int64_t number = 0;  // 0: nothing was done yet
        std::thread::id thread;
    };

    enum class Direction { Undo, Redo };

    static HistoryStatus StatusOf(HistoryRead read);

    void Pause(int change);
    // The long action of this thread; null for none.
    Long* OwnLong();
    void JoinBracket();
    bool Records(const CTableManager& table) const;
    Recorded& TableOf(const CTableManager& table);
    void Put(Recorded& recorded);
    void ForgetBracket();
    HistoryPart HeadOfBracket(bool& isNextAction);

    HistoryOutcome Take(Direction direction, const VisitChange& visit);
    HistoryStatus TakeAction(Direction direction, const VisitChange& visit,
                             HistoryOutcome& outcome);
    struct Place {
        int64_t at = 0;
        int64_t length = 0;
        HistoryPart head;
    };
    // The parts of one action, in their order: that at the place, and those beside it.
    HistoryRead PartsAround(int64_t at, std::vector<Place>& places) const;
    HistoryAction ActionOf(const std::vector<Place>& places) const;
    // The parts of the next action in that direction that are to be taken, in that order.
    HistoryStatus NextParts(Direction direction, std::vector<Place>& places,
                            HistoryAction& action) const;
    HistoryStatus CheckParts(Direction direction, const std::vector<Place>& places,
                             HistoryOutcome& outcome) const;
    HistoryStatus TakePart(Direction direction, const Place& place, const VisitChange& visit,
                           HistoryOutcome& outcome);
    std::optional<HistoryAction> ActionAt(int64_t at) const;
    HistoryStatus ReadParts(int64_t to, const WantPart& wants, const VisitChange& visit) const;

    CDatabaseManager& m_database;
    CHistoryFile m_file;
    HistoryRooms m_rooms;
    bool m_wasLost = false;
    int m_paused = 0;

    // The open bracket's.
    bool m_joined = false;
    Name m_name;
    std::vector<Recorded> m_tables;
    std::vector<uint8_t> m_changes;
    uint32_t m_count = 0;
    HistoryChange m_change;  // kept for its memory
    int64_t m_written = 0;   // number of the action that the bracket's part belongs to

    std::vector<Long> m_longs;  // of one thread one
    int64_t m_lastNumber = 0;   // of the part done last; 0: unknown
};

}  // namespace quillon
