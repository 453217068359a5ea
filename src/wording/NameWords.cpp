#include "wording/NameWords.h"

#include "foundation/PrintableText.h"

namespace quillon {

namespace {

const char* WordFor(NamedKind kind) {
    switch (kind) {
        case NamedKind::Account:
            return "account";
        case NamedKind::Category:
            return "category";
        case NamedKind::Payee:
            break;
    }
    return "payee";
}

}  // namespace

std::string DidYouMean(const std::vector<std::string>& names) {
    if (names.empty()) return {};
    std::string text = "did you mean ";
    for (size_t i = 0; i < names.size(); ++i) {
        if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
        text += Quoted(Printable(names[i]));
    }
    return text + "?";
}

std::string NoSuchNameMessage(NamedKind kind, const std::string& name, const NameSearch& search,
                              Medium medium) {
    const std::string word = WordFor(kind);
    const std::string missing = "There is no " + word + " " + Quoted(name) + "; ";
    if (kind == NamedKind::Account && search.all == 0) {
        return missing + "the ledger has none yet, make one " +
               For(medium, "with 'account add'.", "first.");
    }
    const std::string near = DidYouMean(search.near);
    const std::string all =
        medium == Medium::Terminal ? Quoted(word + " list") + " shows all." : "the list shows all.";
    return missing + (near.empty() ? "" : near + " ") + all;
}

}  // namespace quillon
