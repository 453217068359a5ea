#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "import/plan/RenamingRules.h"
#include "import/text/TextPool.h"

namespace quillon {

// The payees, or the categories, of a plan: each text of the file once, with the name that
// the renaming rules make of it and the row that has this name.
//
//   Numbers    Of texts, from 1; 0 is none, whose text and name are empty.
//   Memory     30 to 50 bytes a text, and as many a name that the rules made.
//   Errors     std::bad_alloc passes through.
//   Ownership  Borrows `home`, the file's text.
class CPlanNames {
public:
    // Row identifier, kNoRow where there is none; nothing: it could not be read.
    using Lookup = std::function<std::optional<int64_t>(std::string_view)>;

    enum class EmptyName { IsNone, IsName };

    explicit CPlanNames(EmptyName empty, std::string_view home = {})
        : m_empty(empty), m_texts(home), m_names(home) {}

    // The number of `text`. Rules and `lookup` are asked once for each. Nothing: the lookup
    // failed.
    std::optional<uint32_t> Add(std::string_view text, const CRenamingRules& rules,
                                const Lookup& lookup);

    std::string_view InFile(uint32_t number) const;
    std::string_view Name(uint32_t number) const;
    // Whether a transaction with it has a row to refer to, and whether that was missing when
    // the text was added.
    bool WantsRow(uint32_t number) const;
    bool IsMissing(uint32_t number) const;
    // The row of its name; kNoRow where it wants none, or there was none then.
    int64_t RowOf(uint32_t number) const;

    // Several texts may come to one name. Numbers of these run from 0; not for 0.
    uint32_t NameOf(uint32_t number) const { return m_nameOf[number - 1]; }
    uint32_t NameCount() const { return m_names.Size(); }

private:
    EmptyName m_empty;
    CTextPool m_texts;
    CTextPool m_names;
    std::vector<uint32_t> m_nameOf;  // by text
    std::vector<int64_t> m_rows;     // by name
};

}  // namespace quillon
