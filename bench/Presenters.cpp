// The screens' rules on large ledgers, without a window: one account that holds every row.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>

#include "BenchEngine.h"
#include "presenters/register/RegisterPresenter.h"

namespace quillon::bench {

namespace {

// Of the clock on the wall, and of the processor: on a machine that does other things the
// second is what the work costs.
struct Took {
    double wall = 0.0;
    double processor = 0.0;

    bool operator<(const Took& other) const { return wall < other.wall; }
};

Took Measure(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    const std::clock_t processor = std::clock();
    work();
    const auto wall = std::chrono::steady_clock::now() - start;
    return {std::chrono::duration<double, std::milli>(wall).count(),
            1e3 * static_cast<double>(std::clock() - processor) / CLOCKS_PER_SEC};
}

// The best of some: what else the machine does shows least in it.
Took Best(const std::function<void()>& work) {
    Took best = Measure(work);
    for (int i = 0; i < 4; ++i) best = std::min(best, Measure(work));
    return best;
}

void Require(bool done, const char* what) {
    if (!done) Die(std::string("presenters: ") + what);
}

// A listener beside the register: what lies between two of them is the register's own time.
class CMoment : public CWorkspaceListener {
public:
    void LedgerChanged(const ChangeNotice&) override {
        m_wall = std::chrono::steady_clock::now();
        m_processor = std::clock();
    }
    Took SinceOther(const CMoment& earlier) const {
        return {std::chrono::duration<double, std::milli>(m_wall - earlier.m_wall).count(),
                1e3 * static_cast<double>(m_processor - earlier.m_processor) / CLOCKS_PER_SEC};
    }

private:
    std::chrono::steady_clock::time_point m_wall;
    std::clock_t m_processor = 0;
};

void OpenWorkspace(CWorkspace& workspace, const std::string& folder) {
    if (workspace.Start(folder) == StartUpStep::SetPassword) workspace.GoOnWithoutPassword();
    Require(workspace.IsReady(), "the ledger does not open");
}

int64_t FillLedger(CWorkspace& workspace, int64_t rows) {
    CAccountEntry account;
    account.name = "Everything";
    Require(workspace.OpenAccount(account, 0.0, 0) == LedgerStatus::Ok, "no account");
    CQuillonDatabaseInterface& database = workspace.Database();
    CLedgerImport import(workspace.Ledger(), account.id, 20'000);
    Require(import.Begin() == LedgerStatus::Ok, "no import");
    std::vector<int64_t> payees;
    for (int64_t i = 0; i <= CRowSource::kPayees; ++i) {
        payees.push_back(database.FindOrAddPayee("Payee number " + std::to_string(i)));
    }
    CRowSource source(42);
    for (int64_t i = 0; i < rows; ++i) {
        const Row row = source.Next();
        CTransactionEntry entry;
        entry.serviceDate = row.date;
        entry.electronicPayment = row.electronic;
        entry.check = row.check;
        entry.transactionType = static_cast<TransactionType>(row.type);
        entry.payeeId = payees[static_cast<size_t>(row.payee)];
        entry.categoryId = row.category;
        entry.amount = row.amount;
        entry.memo = row.memo;
        Require(import.Enter(entry) == LedgerStatus::Ok, "a row was refused");
    }
    Require(import.Finish(), "the import did not finish");
    return account.id;
}

class CPresenterTable {
public:
    explicit CPresenterTable(int64_t rows) : m_large(rows > 300'000) {
        std::printf("\n%lld transactions in one register\n%-44s %10s %10s %10s\n",
                    static_cast<long long>(rows), "", "ms", "cpu ms", "goal");
    }
    // A goal of 0 is none.
    void Print(const std::string& name, const Took& took, double goal, double largeGoal) const {
        std::printf("%-44s %10.2f %10.2f", name.c_str(), took.wall, took.processor);
        if (goal > 0) std::printf(" %10.0f", m_large ? largeGoal : goal);
        std::printf("\n");
    }

private:
    bool m_large;
};

void MeasureViews(CRegisterPresenter& view, const CPresenterTable& table) {
    const auto filter = [&](const char* text) { return Best([&] { view.SetFilter(text); }); };
    table.Print("filter, \"g\", before memos were read", filter("g"), 50, 300);
    view.SetFilter("");
    table.Print("memos read ahead, while idle", Measure([&] { view.ReadTextsAhead(SIZE_MAX); }), 0,
                0);
    table.Print("filter, \"g\"", filter("g"), 50, 300);
    table.Print("filter, \"gro\"", filter("gro"), 50, 300);
    table.Print("filter, \"payee 12 card\"", filter("payee 12 card"), 50, 300);
    table.Print("filter, \"12.3\"", filter("12.3"), 50, 300);
    table.Print("filter, nothing found", filter("nothing of the kind"), 50, 300);
    table.Print("filter, \">100 2003-05\"", filter(">100 2003-05"), 50, 300);
    view.SetFilter("");
    const std::pair<const char*, RegisterColumn> columns[] = {
        {"number", RegisterColumn::Number}, {"date", RegisterColumn::Date},
        {"payee", RegisterColumn::Payee},   {"memo", RegisterColumn::Memo},
        {"payment", RegisterColumn::Out},   {"balance", RegisterColumn::Balance}};
    for (const auto& order : columns) {
        // Up; down and back are not measured.
        Took best{1e9, 1e9};
        for (int i = 0; i < 5; ++i) {
            best = std::min(best, Measure([&] { view.SortBy(order.second); }));
            view.SortBy(order.second);
            view.SortBy(order.second);
        }
        table.Print(std::string("sort by ") + order.first, best, 50, 300);
    }
    table.Print("a screenful of 50 lines in the middle", Best([&] {
                    for (int64_t line = 0; line < 50; ++line) {
                        for (const RegisterColumn column : view.Columns()) {
                            (void)view.CellText(view.LineCount() / 2 + line, column);
                        }
                    }
                }),
                5, 5);
}

void MeasureChanges(CWorkspace& workspace, CRegisterPresenter& view, const CMoment& before,
                    const CMoment& after, const CPresenterTable& table) {
    const std::pair<const char*, int64_t> places[] = {
        {"front", 1}, {"middle", view.LineCount() / 2}, {"end", view.LineCount() - 2}};
    for (const auto& [name, line] : places) {
        std::vector<Took> whole;
        std::vector<Took> own;
        for (int i = 0; i < 21; ++i) {
            CTransactionEntry row;
            Require(bool(workspace.Database().Read(view.RowIdAt(line), row)), "no row");
            row.amount = 1.0 + i;
            whole.push_back(Measure([&] {
                Require(workspace.ChangeTransaction(row) == LedgerStatus::Ok, "a change failed");
            }));
            own.push_back(after.SinceOther(before));
        }
        std::sort(whole.begin(), whole.end());
        std::sort(own.begin(), own.end());
        table.Print(std::string("change at the ") + name + ", the register's part",
                    own[own.size() / 2], 3, 3);
        table.Print(std::string("change at the ") + name + ", with its sync",
                    whole[whole.size() / 2], 0, 0);
    }
}

}  // namespace

void MeasurePresenters(const std::string& folder, int64_t rows) {
    const CSettingsFile settings(SettingsPlaces::Fixed(folder + "/Quillon.cfg"));
    int64_t account = kNoRow;
    {
        CWorkspace workspace(settings);
        OpenWorkspace(workspace, folder);
        account = FillLedger(workspace, rows);
        Require(workspace.Close(), "the ledger does not close");
    }
    CWorkspace workspace(settings);
    CMoment before;
    CMoment after;
    workspace.Listen(before);
    CRegisterPresenter view(workspace);
    workspace.Listen(after);
    OpenWorkspace(workspace, folder);
    const CPresenterTable table(rows);
    const auto show = [&] { Require(view.Show(account), "the register cannot be read"); };
    table.Print("register built, from files never read", Measure(show), 0, 0);
    table.Print("register built, from an open store", Best(show), 300, 300);
    MeasureViews(view, table);
    MeasureChanges(workspace, view, before, after, table);
}

}  // namespace quillon::bench
