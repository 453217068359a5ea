// quillon-bench: the record store beside SQLite, in one process and one run.

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string_view>

#include "BenchEngine.h"
#include "foundation/CalendarDate.h"

namespace quillon::bench {

void Die(const std::string& message) {
    std::fprintf(stderr, "quillon-bench: %s\n", message.c_str());
    std::exit(1);
}

uint64_t CRowSource::Random() {
    m_state ^= m_state << 13;
    m_state ^= m_state >> 7;
    m_state ^= m_state << 17;
    return m_state;
}

// 300 rows a day, from 2000 on.
int64_t DateOfRow(int64_t number) {
    return FileTimeFromDate(2000, 1, 1) + number / 300 * kTicksPerDay;
}

Row CRowSource::Next() {
    static constexpr const char* kWords[] = {"groceries", "monthly", "invoice", "card",
                                             "thank you", "refund",  "store",   "reference"};
    Row row;
    row.account = 1 + static_cast<int64_t>(Random() % kAccounts);
    row.date = DateOfRow(m_count) - static_cast<int64_t>(Random() % 4) * kTicksPerDay;
    const uint64_t kind = Random() % 10;
    row.electronic = kind == 0 ? "ATM" : kind < 3 ? "EFT" : "";
    row.check = kind == 9 ? static_cast<int32_t>(1000 + m_count % 100'000) : 0;
    row.type = static_cast<int32_t>(Random() % 5);
    // A few payees get most of the rows, as in life.
    const double skew = static_cast<double>(Random() % 10'000) / 10'000.0;
    row.payee = 1 + static_cast<int64_t>(skew * skew * static_cast<double>(kPayees));
    row.category = 1 + static_cast<int64_t>(Random() % 34);
    row.amount = static_cast<double>(1 + Random() % 40'000) / 100.0;
    row.fitId = static_cast<int64_t>(Random() >> 1);
    if (Random() % 5 < 3) {
        row.memo = std::string(kWords[Random() % 8]) + ' ' + kWords[Random() % 8] + ' ' +
                   std::to_string(Random() % 1'000'000);
    }
    ++m_count;
    return row;
}

namespace {

namespace fs = std::filesystem;

using Figures = std::vector<std::pair<std::string, double>>;  // in the order of measuring

double Seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double ResidentBytes() {
    ::malloc_trim(0);
    std::ifstream statm("/proc/self/statm");
    double size = 0;
    double resident = 0;
    statm >> size >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

double FolderBytes(const std::string& folder, std::string_view prefix) {
    double total = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = fs::relative(entry.path(), folder).string();
        if (entry.is_regular_file() && path.starts_with(prefix)) {
            total += static_cast<double>(entry.file_size());
        }
    }
    return total;
}

// Answers of both engines must agree: a wrong answer is not a fast one.
class CAnswers {
public:
    void Note(const std::string& question, double answer) {
        const auto [known, isNew] = m_answers.emplace(question, answer);
        if (!isNew && std::abs(known->second - answer) > 1e-6 * (1 + std::abs(answer))) {
            Die("the engines disagree on " + question);
        }
    }

private:
    std::map<std::string, double> m_answers;
};

constexpr int64_t kBatch = 5'000;

void Fill(CBenchEngine& engine, int64_t rows, uint64_t seed) {
    CRowSource source(seed);
    std::vector<Row> batch;
    for (int64_t i = 0; i < rows; i += kBatch) {
        batch.clear();
        for (int64_t j = i; j < std::min(i + kBatch, rows); ++j) batch.push_back(source.Next());
        engine.Insert(batch);
    }
}

double AskAccounts(CBenchEngine& engine, int64_t rows, int rounds, int64_t& count) {
    double sum = 0;
    for (int i = 0; i < rounds; ++i) {
        const int64_t from = DateOfRow(rows * i / rounds);
        sum += engine.SumOfAccount(1 + i % CRowSource::kAccounts, from, from + 30 * kTicksPerDay,
                                   count);
    }
    return sum;
}

Figures Measure(CBenchEngine& engine, const std::string& folder, int64_t rows, CAnswers& answers) {
    Figures figures;
    const auto note = [&](const char* name, double value) { figures.emplace_back(name, value); };
    std::fprintf(stderr, "%s, %lld rows\n", engine.Name(), static_cast<long long>(rows));

    engine.Create(folder);
    note("bulk insert, rows/s",
         static_cast<double>(rows) / Seconds([&] { Fill(engine, rows, 42); }));
    engine.Close();
    note("bytes on disk per row", FolderBytes(folder, engine.Name()) / static_cast<double>(rows));

    const double before = ResidentBytes();
    const auto residentBytes = [&] {
        return (ResidentBytes() - before) / static_cast<double>(rows);
    };
    engine.Open(folder);
    note("resident bytes per row, opened", residentBytes());
    engine.Close();
    int64_t count = 0;
    double sum = 0;
    note("open to first answer, ms", 1e3 * Seconds([&] {
                                         engine.Open(folder);
                                         sum = AskAccounts(engine, rows, 1, count);
                                     }));
    answers.Note("first answer", sum);
    // The first question of a column may cost more than the rest: it is shown by itself.
    note("first payee and amount, ms", 1e3 * Seconds([&] {
                                           sum = engine.SumOfPayee(1, count) +
                                                 engine.SumOfAmounts(100, 105, count);
                                       }));
    answers.Note("first payee and amount", sum);
    note("account in a date range, ms",
         1e3 / 100 * Seconds([&] { sum = AskAccounts(engine, rows, 100, count); }));
    answers.Note("account in a date range", sum);
    sum = 0;
    note("payee equality, ms", 1e3 / 50 * Seconds([&] {
                                   for (int64_t payee = 1; payee <= 50; ++payee) {
                                       sum += engine.SumOfPayee(payee * 7, count);
                                   }
                               }));
    answers.Note("payee equality", sum);
    sum = 0;
    note("amount range over all, ms", 1e3 / 20 * Seconds([&] {
                                          for (int i = 0; i < 20; ++i)
                                              sum += engine.SumOfAmounts(i * 10, i * 10 + 5, count);
                                      }));
    answers.Note("amount range over all", sum);
    answers.Note("rows found", static_cast<double>(count));
    note("resident bytes per row", residentBytes());
    engine.UseIndexes();
    note("resident bytes per row, all used", residentBytes());

    note("update one category, ms", 1e3 / 100 * Seconds([&] {
                                        for (int64_t i = 0; i < 100; ++i)
                                            engine.SetCategory(1 + i * (rows / 101), 7);
                                    }));
    note("delete 1,000 rows, ms", 1e3 * Seconds([&] { engine.DeleteRows(rows / 2, 1'000); }));
    count = 0;
    answers.Note("after the changes", engine.SumOfAmounts(0, 1e9, count));
    engine.Close();
    return figures;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// What a disk does to a synced commit changes from second to second, so the engines take turns.
void MeasureCommits(CBenchEngine& theirs, CBenchEngine& ours, const std::string& folder,
                    Figures& theirFigures, Figures& ourFigures) {
    constexpr int kRounds = 40;
    constexpr int kCommitsARound = 50;
    struct Turn {
        CBenchEngine& engine;
        Figures& figures;
        CRowSource source{7};
        std::vector<double> commits = {};
        std::vector<double> flushes = {};
    };
    std::fprintf(stderr, "both, single commits\n");
    Turn turns[] = {{theirs, theirFigures}, {ours, ourFigures}};
    for (Turn& turn : turns) turn.engine.Open(folder);
    for (int round = 0; round < kRounds; ++round) {
        for (Turn& turn : turns) {
            for (int i = 0; i < kCommitsARound; ++i) {
                const Row row = turn.source.Next();
                turn.commits.push_back(Seconds([&] { turn.engine.Insert({row}); }));
            }
            turn.engine.Flush();
            turn.engine.Insert({turn.source.Next()});
            turn.flushes.push_back(Seconds([&] { turn.engine.Flush(); }));
        }
    }
    for (Turn& turn : turns) {
        turn.engine.Close();
        turn.figures.emplace_back("single commits, synced, /s", 1 / Median(turn.commits));
        turn.figures.emplace_back("flush after one insert, ms", 1e3 * Median(turn.flushes));
    }
}

struct Table {
    int64_t rows;
    Figures ours;
    Figures theirs;
};

// Above 1 we are better, whichever way the figure points.
double Ratio(const std::string& name, double ours, double theirs) {
    const bool moreIsBetter = name.ends_with("/s");
    return moreIsBetter ? ours / theirs : theirs / ours;
}

void Print(const Table& table) {
    std::printf("\n%lld transactions\n%-32s %14s %14s %10s\n", static_cast<long long>(table.rows),
                "", "quillon", "sqlite", "ratio");
    for (size_t i = 0; i < table.ours.size(); ++i) {
        const auto& [name, ours] = table.ours[i];
        const double theirs = table.theirs[i].second;
        std::printf("%-32s %14.3f %14.3f %9.2fx\n", name.c_str(), ours, theirs,
                    Ratio(name, ours, theirs));
    }
}

void WriteJson(const std::string& path, const std::vector<Table>& tables) {
    std::ofstream out(path);
    out << "[";
    for (size_t t = 0; t < tables.size(); ++t) {
        out << (t ? "," : "") << "\n  {\"rows\": " << tables[t].rows << ", \"figures\": [";
        for (size_t i = 0; i < tables[t].ours.size(); ++i) {
            const auto& [name, ours] = tables[t].ours[i];
            const double theirs = tables[t].theirs[i].second;
            out << (i ? "," : "") << "\n    {\"name\": \"" << name << "\", \"quillon\": " << ours
                << ", \"sqlite\": " << theirs << ", \"ratio\": " << Ratio(name, ours, theirs)
                << "}";
        }
        out << "\n  ]}";
    }
    out << "\n]\n";
    if (!out.flush()) Die("cannot write " + path);
}

void MeasureRegister(const std::string& folder, int64_t rows) {
    fs::create_directories(folder);
    MeasurePresenters(folder, rows);
    fs::remove_all(folder);
}

int Main(int argc, char** argv) {
    std::vector<int64_t> sizes = {100'000, 1'000'000};
    std::string json;
    bool onlyPresenters = false;
    // Beside the program, not in a memory file system: syncs must be real.
    const std::string folder =
        (fs::current_path() / ("bench." + std::to_string(::getpid()))).string();
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--json" && i + 1 < argc) {
            json = argv[++i];
        } else if (argument == "--rows" && i + 1 < argc) {
            sizes = {std::atoll(argv[++i])};
        } else if (argument == "--presenters") {
            onlyPresenters = true;
        } else if (argument == "--reconcile") {
            MeasureReconciliation();
            return 0;
        } else if (argument == "--csv") {
            MeasureCsv(folder);
            return 0;
        } else {
            std::fprintf(stderr,
                         "usage: quillon-bench [--rows N] [--json FILE] [--presenters]\n"
                         "       --presenters                the register alone\n"
                         "       quillon-bench --csv         finding and importing files in "
                         "columns\n"
                         "       quillon-bench --reconcile   bank reconciliation beside a search "
                         "of every set; takes minutes\n");
            return 2;
        }
    }
    std::vector<Table> tables;
    for (const int64_t rows : sizes) {
        if (rows < 5'000) Die("--rows takes 5000 or more");
        if (onlyPresenters) {
            MeasureRegister(folder, rows);
            continue;
        }
        fs::create_directories(folder);
        CAnswers answers;
        Table table{rows, {}, {}};
        const std::unique_ptr<CBenchEngine> theirs = MakeSqliteEngine();
        const std::unique_ptr<CBenchEngine> ours = MakeQuillonEngine();
        table.theirs = Measure(*theirs, folder, rows, answers);
        table.ours = Measure(*ours, folder, rows, answers);
        MeasureCommits(*theirs, *ours, folder, table.theirs, table.ours);
        fs::remove_all(folder);
        Print(table);
        MeasureRegister(folder, rows);
        tables.push_back(std::move(table));
    }
    if (!json.empty()) WriteJson(json, tables);
    return 0;
}

}  // namespace
}  // namespace quillon::bench

int main(int argc, char** argv) {
    return quillon::bench::Main(argc, argv);
}
