#pragma once

namespace quillon {

// A bracket for a scope: rolled back unless committed. The owner is whoever has brackets and
// calls their ends BeginBatch, CommitBatch and RollbackBatch: CJournal, CDatabaseManager, and what
// stands above them. Owners say what a bracket is and who may have one.
//
//   Errors     false. Nothing throws that the owner's calls do not throw.
//   Ownership  Borrows the owner, which must outlive the scope.
//   Threads    The owner's.
template <typename Owner>
class [[nodiscard]] CBracketScope {
public:
    explicit CBracketScope(Owner& owner) : m_owner(owner), m_open(owner.BeginBatch()) {}
    ~CBracketScope() {
        if (m_open) m_owner.RollbackBatch();
    }
    CBracketScope(const CBracketScope&) = delete;
    CBracketScope& operator=(const CBracketScope&) = delete;

    // False: the owner takes no change now, and the scope does nothing.
    bool Begun() const { return m_open; }
    // False: nothing of the bracket is kept, or an outer one will not keep it.
    [[nodiscard]] bool Commit() {
        if (!m_open) return false;
        m_open = false;
        return m_owner.CommitBatch();
    }

private:
    Owner& m_owner;
    bool m_open;
};

}  // namespace quillon
