#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "import/text/TextScan.h"

namespace quillon {

// Keeps each of many texts once and numbers them from 0.
//
//   Memory     24 to 32 bytes a text, and its bytes, unless they lie in `home`.
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows `home`, whose texts are referred to where they stand; copies all
//              others. Views live as long as pool and home, and through a move.
class CTextPool {
public:
    explicit CTextPool(std::string_view home = {}) : m_home(home) {}

    // The number of `text`; `isNew` tells whether it was met for the first time.
    uint32_t Add(std::string_view text, bool& isNew);
    uint32_t Add(std::string_view text) {
        bool isNew = false;
        return Add(text, isNew);
    }
    std::string_view operator[](uint32_t number) const {
        return {m_texts[number].start, m_texts[number].length};
    }
    uint32_t Size() const { return static_cast<uint32_t>(m_texts.size()); }

    bool IsAtHome(std::string_view text) const;

private:
    struct Text {
        const char* start;
        uint32_t length;
        uint32_t hash;
    };

    size_t SlotOf(std::string_view text, uint32_t hash) const;
    void Grow();

    std::string_view m_home;
    CTextArena m_copies;
    std::vector<Text> m_texts;
    std::vector<uint32_t> m_slots;  // numbers from 1, by hash; 0: free
};

}  // namespace quillon
