#include "cli/Names.h"

#include "cli/DatabaseMessages.h"
#include "cli/terminal/Failure.h"
#include "wording/NameWords.h"

namespace quillon {

namespace {

template <class Entry>
Entry RequireNamed(CQuillonDatabaseInterface& database, const std::string& name, NamedKind kind) {
    Entry entry;
    NameSearch search;
    const CLookup found = FindTypedName(database, name, entry, &search);
    if (found) return entry;
    RequireStored(!found.HasFailed(), database);
    throw CFailure(NoSuchNameMessage(kind, name, search, Medium::Terminal));
}

}  // namespace

CAccountEntry RequireAccount(CQuillonDatabaseInterface& database, const std::string& name) {
    return RequireNamed<CAccountEntry>(database, name, NamedKind::Account);
}

CCategoryEntry RequireCategory(CQuillonDatabaseInterface& database, const std::string& name) {
    return RequireNamed<CCategoryEntry>(database, name, NamedKind::Category);
}

CPayeeEntry RequirePayee(CQuillonDatabaseInterface& database, const std::string& name) {
    return RequireNamed<CPayeeEntry>(database, name, NamedKind::Payee);
}

}  // namespace quillon
