// reconcile: which transactions has the bank not seen yet?

#include <algorithm>
#include <utility>

#include "cli/Register.h"
#include "cli/Session.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Progress.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "finance/ledger/Balance.h"
#include "finance/reconciliation/BankReconciliation.h"
#include "foundation/CalendarDate.h"
#include "foundation/CurrencyFormat.h"
#include "wording/ReconciliationWords.h"

namespace quillon {

namespace {

// More sets than this nobody reads; --json has them all.
constexpr size_t kMostSetsShown = 20;

struct ReconcileOptions {
    std::string account;
    std::string balance;
    NumberOption days;
    NumberOption maximum;
    std::vector<std::string> cleared;
    bool yes = false;
};

class CReconcileCommand {
public:
    CReconcileCommand(CCommandContext& context, const ReconcileOptions& options)
        : m_context(context), m_options(options), m_reconciliation(context.Settings()) {}

    void Run() {
        m_balance = RequireAmount(m_options.balance);
        ReadCleared();
        CSession session(m_context);
        CQuillonDatabaseInterface& database = session.Database();
        m_account = RequireAccount(database, m_options.account);
        m_lines = ReadRegister(database, m_account);
        RequireClearedLines();
        Reconcile();
        const CNameTables& names = session.Names();
        if (m_context.WantsJson()) {
            PrintJson();
        } else {
            PrintForPeople(names);
        }
        PrintNotes();
    }

private:
    void ReadCleared();
    void RequireClearedLines() const;
    void Reconcile();
    bool AskForReduced(const ReconciliationMessage& question);
    void Take(const ReconciliationMessage& message);

    void PrintJson();
    void PrintForPeople(const CNameTables& names);
    void PrintSets(const CNameTables& names);
    void PrintHints(const CNameTables& names);
    void PrintLines(const std::vector<const RegisterLine*>& lines, const CNameTables& names);
    void PrintNotes();
    void NoteCorrection(const char* option, const NumberOption& given, int32_t used, int32_t most);

    CCommandContext& m_context;
    const ReconcileOptions& m_options;
    CBankReconciliation m_reconciliation;
    CAccountEntry m_account;
    std::vector<RegisterLine> m_lines;
    std::vector<int64_t> m_cleared;
    double m_balance = 0.0;
    std::string m_message;  // the last one
    bool m_declined = false;
    bool m_wasAsked = false;
};

void CReconcileCommand::ReadCleared() {
    m_cleared.reserve(m_options.cleared.size());
    for (const std::string& id : m_options.cleared) m_cleared.push_back(RequireId(id));
}

void CReconcileCommand::RequireClearedLines() const {
    for (const int64_t id : m_cleared) {
        const auto isIt = [id](const RegisterLine& line) { return line.row.id == id; };
        if (std::any_of(m_lines.begin(), m_lines.end(), isIt)) continue;
        throw CFailure("There is no transaction " + std::to_string(id) + " in " +
                       Quoted(m_account.name.ToUtf8()) +
                       "; 'transaction list ACCOUNT' shows their numbers.");
    }
}

void CReconcileCommand::Take(const ReconciliationMessage& message) {
    if (!message.IsEmpty()) m_message = message.text;
}

void CReconcileCommand::Reconcile() {
    m_reconciliation.AttachRegister(m_lines, m_account.accountType);
    if (m_options.days.Given()) m_reconciliation.SetLookBackDays(m_options.days.value);
    if (m_options.maximum.Given()) m_reconciliation.SetMaxTransactions(m_options.maximum.value);
    CProgress progress(m_context.Host(), "Searching");
    const auto report = [&progress](double share) {
        constexpr int64_t kWhole = 1'000;
        progress.Show(static_cast<int64_t>(share * static_cast<double>(kWhole)), kWhole);
        return true;
    };
    const auto ask = [this](const ReconciliationMessage& question) {
        Take(question);
        return m_options.yes || AskForReduced(question);
    };
    ReconciliationMessage message = m_reconciliation.Compute(m_balance, ask, report);
    if (m_declined) return;
    m_message = message.text;
    if (m_cleared.empty()) return;
    const int32_t before = m_reconciliation.Solutions().Count();
    message = m_reconciliation.MarkCleared(m_cleared, report);
    if (m_reconciliation.Solutions().Count() != before) m_message = message.text;
}

bool CReconcileCommand::AskForReduced(const ReconciliationMessage& question) {
    std::string answer;
    const auto& readAnswer = m_context.Host().readAnswer;
    m_wasAsked = readAnswer && readAnswer(question.text + " (y/n) ", answer);
    m_declined = answer.empty() || (answer.front() != 'y' && answer.front() != 'Y');
    return !m_declined;
}

// --- results

Json IdsOf(const std::vector<const RegisterLine*>& lines) {
    Json ids = Json::array();
    for (const RegisterLine* line : lines) ids.push_back(line->row.id);
    return ids;
}

void CReconcileCommand::PrintJson() {
    Json solutions = Json::array();
    for (const auto& solution : m_reconciliation.Solutions()) solutions.push_back(solution.Ids());
    Json hints = Json::array();
    for (const ReconciliationHint& hint : m_reconciliation.Hints()) {
        hints.push_back({{"kind", KeyOf(hint.kind)},
                         {"text", HintText(hint)},
                         {"transactions", IdsOf(hint.lines)}});
    }
    m_context.Print({{"difference", SettledSum(m_reconciliation.Difference())},
                     {"days", m_reconciliation.LookBackDays()},
                     {"max", m_reconciliation.WorkingMaximum()},
                     {"candidates", m_reconciliation.CandidateCount()},
                     {"message", m_message},
                     {"solutions", std::move(solutions)},
                     {"hints", std::move(hints)},
                     {"ranking", m_reconciliation.Ranking()}});
}

void CReconcileCommand::PrintForPeople(const CNameTables& names) {
    const std::string name = Quoted(Printable(m_account.name.View()));
    if (m_lines.empty()) {
        m_context.Say("The account " + name + " has no transactions yet.");
        return;
    }
    m_context.Say("Balance of " + name + ": " + FormatCurrency(m_lines.back().balance) +
                  ", at the bank " + FormatCurrency(m_balance) + ", difference " +
                  FormatCurrency(m_reconciliation.Difference()));
    if (m_reconciliation.CandidateCount() > 0) {
        m_context.Say("Looked back " + Counted(m_reconciliation.LookBackDays(), "day", "days") +
                      ", at " +
                      Counted(static_cast<int64_t>(m_reconciliation.CandidateCount()),
                              "transaction", "transactions") +
                      "; sets of up to " + std::to_string(m_reconciliation.WorkingMaximum()));
    }
    m_context.Say("");
    PrintSets(names);
    // What was answered on the terminal stands there already.
    if (!m_message.empty() && !m_wasAsked) m_context.Say(m_message);
    PrintHints(names);
}

void CReconcileCommand::PrintSets(const CNameTables& names) {
    const auto& solutions = m_reconciliation.Solutions();
    if (solutions.IsEmpty()) return;
    using Align = CTablePrinter::Align;
    using Fit = CTablePrinter::Fit;
    CTablePrinter table;
    table.AddColumn("Set", Align::Right);
    table.AddColumn("Id", Align::Right);
    table.AddColumn("Date");
    table.AddColumn("Type", Align::Left, Fit::Drop);
    table.AddColumn("Number");
    table.AddColumn("Payee", Align::Left, Fit::Yield);
    table.AddColumn("Effect", Align::Right);
    const std::vector<size_t> ranking = m_reconciliation.Ranking();
    size_t set = 0;
    for (const CBankReconciliationSolutionEntry& solution : solutions) {
        if (++set > kMostSetsShown) break;
        for (const RegisterLine* line : solution.Lines()) {
            const CTransactionEntry& row = line->row;
            table.AddRow({std::to_string(set), std::to_string(row.id),
                          FormatIsoDate(row.serviceDate), std::string(NameOf(row.transactionType)),
                          NumberText(row), names.Payee(row.payeeId), FormatCurrency(line->effect)});
        }
        table.AddRow({"", "", "Totals", "", "", "", FormatCurrency(solution.Effect())});
    }
    CommandLineHost& host = m_context.Host();
    table.Print(host.out, host.outIsTerminal ? static_cast<size_t>(host.columns) : 0);
    m_context.Say("");
    if (solutions.Size() < 2) {
        if (m_message.empty()) {
            m_context.Say(
                "The only set that explains the difference: these have probably not "
                "cleared the bank.");
        }
        return;
    }
    m_context.Say(m_reconciliation.StatusLine() +
                  (solutions.Size() > kMostSetsShown
                       ? ", of which the first " + std::to_string(kMostSetsShown) + " are shown"
                       : "") +
                  "; set " + std::to_string(ranking.front() + 1) + " is the likeliest.");
}

void CReconcileCommand::PrintLines(const std::vector<const RegisterLine*>& lines,
                                   const CNameTables& names) {
    constexpr size_t kMostLines = 10;
    for (size_t i = 0; i < lines.size() && i < kMostLines; ++i) {
        const RegisterLine& line = *lines[i];
        m_context.Say("    " + Describe(line, names));
    }
    if (lines.size() > kMostLines) m_context.Say("    ...");
}

void CReconcileCommand::PrintHints(const CNameTables& names) {
    if (m_reconciliation.Hints().empty()) return;
    m_context.Say("");
    m_context.Say("What else would explain it:");
    for (const ReconciliationHint& hint : m_reconciliation.Hints()) {
        m_context.Say("  " + HintText(hint));
        PrintLines(hint.lines, names);
    }
}

void CReconcileCommand::NoteCorrection(const char* option, const NumberOption& given, int32_t used,
                                       int32_t most) {
    if (!given.Given() || given.value == used) return;
    m_context.Note(std::string(option) + " " + std::to_string(given.value) + " lies outside 0 to " +
                   std::to_string(most) + "; " + std::to_string(used) + " was used.");
}

void CReconcileCommand::PrintNotes() {
    if (!m_lines.empty()) {
        NoteCorrection("--days", m_options.days, m_reconciliation.LookBackDays(),
                       CBankReconciliation::kMostDays);
        NoteCorrection("--max", m_options.maximum, m_reconciliation.MaxTransactions(),
                       CBankReconciliation::kMostMaximum);
    }
    if (m_declined) {
        m_context.Note(m_wasAsked ? "Nothing was searched."
                                  : "Nothing was searched, since there was no terminal to ask on; "
                                    "--yes goes on with the reduced maximum.");
    }
    if (m_reconciliation.IsCutShort()) {
        m_context.Note(
            "There are more sets than can be listed; these are the first. Fewer --days "
            "or a smaller --max give fewer, and so does --cleared.");
    }
}

}  // namespace

std::vector<Command> ReconcileCommands() {
    return {{.path = "reconcile",
             .help = "Find the transactions that the bank's statement lacks",
             .options = {{.name = "account", .help = "Name of the account", .required = true},
                         {.name = "--balance",
                          .help = "Balance on the bank's statement, signed",
                          .required = true},
                         {.name = "--days",
                          .help = "Days to look back, 0 to 90",
                          .kind = OptionKind::Number},
                         {.name = "--max",
                          .help = "Transactions in a set at most, 0 to 60",
                          .kind = OptionKind::Number},
                         {.name = "--yes",
                          .help = "Go on when --max must be reduced",
                          .kind = OptionKind::Flag},
                         {.name = "--cleared",
                          .help = "Numbers of transactions that have cleared the bank",
                          .kind = OptionKind::Texts,
                          .typeName = "ID",
                          .delimiter = ','}},
             .run = [](CCommandContext& context, const Arguments& given) {
                 const ReconcileOptions options{.account = given.Value("account"),
                                                .balance = given.Value("--balance"),
                                                .days = given.Number("--days"),
                                                .maximum = given.Number("--max"),
                                                .cleared = given.Texts("--cleared"),
                                                .yes = given.Flag("--yes")};
                 CReconcileCommand(context, options).Run();
             }}};
}

}  // namespace quillon
