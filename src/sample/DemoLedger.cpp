#include "sample/DemoLedger.h"

#include <array>
#include <new>
#include <unordered_map>

#include "sample/DemoHousehold.h"

namespace quillon {

namespace {

constexpr int64_t kEventsPerCommit = 2000;

struct DemoRule {
    const char* search;
    const char* replace;
};
constexpr DemoRule kRules[] = {
    {"GREENLEAF", "Greenleaf Market"},
    {"CRESTLINE", "Crestline Fuel"},
    {"BLUE HERON", "Blue Heron Coffee"},
    {"PARCELWISE", "Parcelwise Online"},
    {"HARBORVIEW", "Harborview Medical Group"},
    {"TIDEWATER L", "Tidewater Light & Power"},
    {"SAVOR", "Savor Foods"},
    {"METRO TRANSIT", "Metro Transit"},
};

struct DemoRecurring {
    DemoAccount account;
    TransactionType type;
    const char* payee;
    const char* category;
    PeriodType period;
    CivilDate last;
    const char* notes;
};
constexpr DemoRecurring kRecurring[] = {
    {DemoAccount::Checking,
     TransactionType::Deposit,
     "Harborview Medical Group",
     "Income",
     PeriodType::TwicePerMonth,
     {2024, 12, 31},
     "Payroll, the 15th and the last day"},
    {DemoAccount::Checking,
     TransactionType::Payment,
     "Alder Court Apartments",
     "Rent",
     PeriodType::Monthly,
     {2024, 12, 1},
     "By check"},
    {DemoAccount::Checking,
     TransactionType::Payment,
     "Tidewater Light & Power",
     "Electricity",
     PeriodType::Monthly,
     {2024, 12, 16},
     ""},
    {DemoAccount::Checking,
     TransactionType::Payment,
     "Tidewater Water District",
     "Water",
     PeriodType::Monthly,
     {2024, 12, 3},
     ""},
    {DemoAccount::Card,
     TransactionType::Charge,
     "Northline Telephone",
     "Telephone",
     PeriodType::Monthly,
     {2024, 12, 6},
     "Two lines"},
    {DemoAccount::Card,
     TransactionType::Charge,
     "Streamhouse",
     "Subscriptions",
     PeriodType::Monthly,
     {2024, 12, 9},
     ""},
    {DemoAccount::Checking,
     TransactionType::Payment,
     "Anchor Insurance",
     "Auto Insurance",
     PeriodType::SemiAnnual,
     {2024, 7, 12},
     ""},
    {DemoAccount::Card,
     TransactionType::Charge,
     "Anchor Insurance",
     "Renters Insurance",
     PeriodType::Annual,
     {2024, 2, 18},
     ""},
    {DemoAccount::Checking,
     TransactionType::Payment,
     "Margit Olsen",
     "Entertainment",
     PeriodType::BiWeekly,
     {2024, 12, 24},
     "Piano lessons, Nora"},
    {DemoAccount::Checking,
     TransactionType::Payment,
     "Open Hands Food Bank",
     "Charity",
     PeriodType::Monthly,
     {2024, 12, 21},
     ""},
};

struct DemoBudget {
    const char* category;
    BudgetItemType type;
    double amount;  // a month
};
constexpr DemoBudget kBudget[] = {
    {"Income", BudgetItemType::Income, 7000},     {"Rent", BudgetItemType::Expense, 1750},
    {"Groceries", BudgetItemType::Expense, 1000}, {"Restaurants", BudgetItemType::Expense, 900},
    {"Gas", BudgetItemType::Expense, 220},        {"Electricity", BudgetItemType::Expense, 120},
    {"Telephone", BudgetItemType::Expense, 150},  {"Subscriptions", BudgetItemType::Expense, 95},
    {"Travel", BudgetItemType::Expense, 400},     {"Entertainment", BudgetItemType::Expense, 350},
    {"Household", BudgetItemType::Expense, 450},  {"Gifts", BudgetItemType::Expense, 120},
};

struct DemoStock {
    const char* symbol;
    const char* description;
    const char* sector;
    CivilDate opened;
    double shares;
    double purchase;
    double target;
    double last;  // the price it was sold at, of a closed position
    CivilDate closed;
};
constexpr DemoStock kPositions[] = {
    {"MRLW", "Marlow Financial", "Financial (XLF)", {2016, 1, 19}, 60, 41.20, 75, 68.35, {}},
    {"NGTX",
     "Northgate Textiles",
     "Consumer Discretionary (XLY)",
     {2017, 4, 18},
     45,
     33.85,
     60,
     29.10,
     {}},
    {"HLBR", "Halbrook Medical", "Health Care (XLV)", {2018, 7, 18}, 38, 55.40, 110, 97.80, {}},
    {"TDWR", "Tidewater Utilities", "Utilities (XLU)", {2019, 10, 18}, 80, 48.00, 62, 57.45, {}},
    {"CRCT", "Circuit Devices", "Technology (XLK)", {2021, 1, 19}, 22, 88.10, 160, 141.25, {}},
};
constexpr DemoStock kClosed[] = {
    {"FERR",
     "Bay Ferry Lines",
     "Industrials (XLI)",
     {2015, 4, 20},
     70,
     22.40,
     35,
     34.10,
     {2018, 2, 6}},
    {"GRNL",
     "Greenleaf Foods",
     "Consumer Staples (XLP)",
     {2016, 7, 18},
     40,
     51.30,
     70,
     46.75,
     {2019, 8, 14}},
    {"LMNC",
     "Lumen Communications",
     "Communications Services (XLC)",
     {2019, 1, 18},
     55,
     37.20,
     58,
     59.90,
     {2023, 11, 3}},
};
constexpr DemoStock kWatched[] = {
    {"ORPH", "Orpheum Theaters", "Communications Services (XLC)", {2024, 3, 4}, 0, 0, 0, 0, {}},
    {"CSTL", "Crestline Energy", "Energy (XLE)", {2024, 6, 17}, 0, 0, 0, 0, {}},
    {"ALDR", "Alder Properties", "Real Estate (XLRE)", {2024, 9, 30}, 0, 0, 0, 0, {}},
    {"OAKA", "Oak & Anvil Materials", "Materials (XLB)", {2024, 11, 12}, 0, 0, 0, 0, {}},
};

// Ends the filling where something failed; goes no further than FillDemoLedger.
struct Stop {
    LedgerStatus status;
};

class CDemoLedger {
public:
    explicit CDemoLedger(CLedger& ledger) : m_ledger(ledger), m_database(ledger.Database()) {}

    int64_t Fill(const std::function<void(int64_t, int64_t)>& progress) {
        // The household was always like this: there is nothing to take back.
        const CHistory::CPause pause(m_database.History());
        OpenAccounts();
        EnterEvents(MakeDemoEvents(), progress);
        CFinanceBatch batch(m_database);
        Need(batch.Begun());
        AddPlans();
        AddStocks();
        Need(batch.Commit());
        return m_database.RowCount(kTransactionTable);
    }

private:
    using Ids = std::unordered_map<std::string, int64_t>;

    static void Need(bool done) { Need(done ? LedgerStatus::Ok : LedgerStatus::StoreFailed); }
    static void Need(CLookup found) { Need(static_cast<bool>(found)); }
    static void Need(LedgerStatus status) {
        if (status != LedgerStatus::Ok) throw Stop{status};
    }

    int64_t AccountId(DemoAccount account) const {
        return m_accounts[static_cast<size_t>(account)];
    }
    int64_t Payee(const std::string& name) {
        if (name.empty()) return kNoRow;
        int64_t& id = m_payees[name];
        if (id == kNoRow) Need((id = m_database.FindOrAddPayee(name)) != kNoRow);
        return id;
    }
    int64_t Category(const std::string& name) {
        if (name.empty()) return kNoRow;
        int64_t& id = m_categories[name];
        if (id == kNoRow) Need((id = m_database.FindOrAddCategory(name)) != kNoRow);
        return id;
    }

    void OpenAccounts() {
        CFinanceBatch batch(m_database);
        Need(batch.Begun());
        for (const DemoAccountPlan& plan : kDemoAccounts) {
            CAccountEntry account;
            account.name = plan.name;
            account.description = plan.description;
            account.accountType = plan.type;
            Need(m_ledger.OpenAccount(account, static_cast<double>(plan.openingCents) / 100,
                                      FileTimeFromDate(kDemoFirstDay)));
            m_accounts[static_cast<size_t>(plan.account)] = account.id;
        }
        Need(batch.Commit());
    }

    void EnterEvents(const std::vector<DemoEvent>& events,
                     const std::function<void(int64_t, int64_t)>& progress) {
        const auto total = static_cast<int64_t>(events.size());
        for (int64_t done = 0; done < total;) {
            CFinanceBatch batch(m_database);
            Need(batch.Begun());
            const int64_t end = std::min(total, done + kEventsPerCommit);
            for (; done < end; ++done) EnterEvent(events[static_cast<size_t>(done)]);
            Need(batch.Commit());
            progress(done, total);
        }
    }

    void EnterEvent(const DemoEvent& event) {
        const double amount = static_cast<double>(event.cents) / 100;
        CTransactionEntry row;
        if (event.to) {
            TransferRequest request;
            request.fromAccountId = AccountId(event.account);
            request.toAccountId = AccountId(*event.to);
            request.amount = amount;
            request.date = event.date;
            request.memo = event.memo;
            CTransactionEntry receiving;
            Need(m_ledger.EnterTransfer(request, row, receiving));
            return;
        }
        row.accountId = AccountId(event.account);
        row.serviceDate = event.date;
        row.electronicPayment = event.electronic;
        row.check = event.check;
        row.transactionType = event.type;
        row.payeeId = Payee(event.payee);
        row.categoryId = Category(event.category);
        row.amount = amount;
        row.memo = event.memo;
        Need(m_ledger.EnterTransaction(row));
    }

    void AddPlans() {
        for (const DemoRule& rule : kRules) {
            CRenamingRuleEntry entry;
            entry.searchText = rule.search;
            entry.replaceText = rule.replace;
            Need(m_database.Add(entry));
        }
        for (const DemoRecurring& recurring : kRecurring) {
            CMemorizedTransactionEntry entry;
            entry.accountId = AccountId(recurring.account);
            entry.transactionType = recurring.type;
            entry.payeeId = Payee(recurring.payee);
            entry.categoryId = Category(recurring.category);
            entry.periodType = recurring.period;
            entry.twiceAMonthType = TwiceAMonthType::FifteenthAndLast;
            entry.lastServiceDate = FileTimeFromDate(recurring.last);
            entry.notes = recurring.notes;
            Need(m_database.Add(entry));
        }
        for (const DemoBudget& budget : kBudget) {
            CBudgetItem item;
            item.categoryId = Category(budget.category);
            item.itemType = budget.type;
            item.amount = budget.amount;
            Need(m_database.Add(item));
        }
    }

    // --- stocks
    int64_t Sector(const char* name) {
        if (m_sectors.empty()) {
            COwnedList<CStockSectorEntry> sectors;
            Need(m_database.List(sectors));
            for (const CStockSectorEntry& row : sectors) {
                m_sectors[row.stockSector.ToUtf8()] = row.id;
            }
        }
        const auto found = m_sectors.find(name);
        return found == m_sectors.end() ? kNoRow : found->second;
    }

    // The columns that all three stock tables have.
    template <class Entry>
    Entry Stock(const DemoStock& stock) {
        Entry entry;
        entry.stock = stock.symbol;
        entry.stockDescription = stock.description;
        entry.sectorId = Sector(stock.sector);
        return entry;
    }

    template <class Entry>
    Entry Position(const DemoStock& stock) {
        Entry entry = Stock<Entry>(stock);
        entry.openDate = FileTimeFromDate(stock.opened);
        entry.shares = stock.shares;
        entry.purchasePrice = stock.purchase;
        entry.targetPrice = stock.target;
        entry.costBasis = stock.shares * stock.purchase;
        entry.targetReturn = stock.shares * (stock.target - stock.purchase);
        return entry;
    }

    void AddStocks() {
        constexpr double kFee = 4.95;
        double invested = 0.0;
        for (const DemoStock& stock : kPositions) {
            auto entry = Position<CStockOpenPositionEntry>(stock);
            entry.lastPrice = stock.last;
            entry.targetYield = 100 * entry.targetReturn / entry.costBasis;
            invested += entry.costBasis;
            Need(m_database.Add(entry));
        }
        for (const DemoStock& stock : kClosed) {
            auto entry = Position<CStockClosedPositionEntry>(stock);
            entry.closeDate = FileTimeFromDate(stock.closed);
            entry.sellPrice = stock.last;
            entry.sellFee = kFee;
            entry.actualNet = stock.shares * (stock.last - stock.purchase) - kFee;
            entry.actualYield = 100 * entry.actualNet / entry.costBasis;
            entry.percentTargetRealized = 100 * entry.actualNet / entry.targetReturn;
            Need(m_database.Add(entry));
        }
        for (const DemoStock& stock : kWatched) {
            auto entry = Stock<CStockWatchListEntry>(stock);
            entry.date = FileTimeFromDate(stock.opened);
            Need(m_database.Add(entry));
        }
        CAccountEntry brokerage;
        Need(m_database.Read(AccountId(DemoAccount::Investment), brokerage));
        Need(m_database.UpdateCoreAccountBalance(brokerage.currentBalance));
        Need(m_database.UpdateInvestmentBalance(invested));
    }

    CLedger& m_ledger;
    CQuillonDatabaseInterface& m_database;
    std::array<int64_t, kDemoAccounts.size()> m_accounts{};
    Ids m_payees;
    Ids m_categories;
    Ids m_sectors;
};

}  // namespace

LedgerStatus FillDemoLedger(CLedger& ledger, int64_t& transactions,
                            const std::function<void(int64_t done, int64_t total)>& progress) try {
    transactions = CDemoLedger(ledger).Fill(progress);
    return LedgerStatus::Ok;
} catch (const Stop& stop) {
    return stop.status;
} catch (const std::bad_alloc&) {
    return LedgerStatus::StoreFailed;
}

}  // namespace quillon
