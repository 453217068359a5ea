#pragma once

namespace quillon {

// A store whose memory mirrors its files. It joins the open bracket before its
// first change (CJournal::Join) and hears how the bracket ended.
class CBracketParticipant {
public:
    virtual ~CBracketParticipant() = default;

    virtual void OnBracketCommitted() = 0;
    // The files are as before the bracket: bring the memory back in line.
    virtual void OnBracketRolledBack() = 0;
};

}  // namespace quillon
