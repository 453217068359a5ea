#pragma once

namespace quillon {

// A store whose memory mirrors its files. It joins the open bracket before its
// first change (CJournal::Join) and hears how the bracket ended.
class CBracketParticipant {
public:
    virtual ~CBracketParticipant() = default;

    // Each may throw std::bad_alloc, which is a false as well. False: the memory no longer
    // mirrors the files; the journal then takes no change until the owner made its stores anew.
    [[nodiscard]] virtual bool OnBracketCommitted() = 0;
    // The files are as before the bracket: bring the memory back in line.
    [[nodiscard]] virtual bool OnBracketRolledBack() = 0;
};

}  // namespace quillon
