// Files in columns: finding the shape, and entering the rows into an empty account.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "BenchEngine.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "finance/ledger/Ledger.h"
#include "foundation/CalendarDate.h"
#include "import/csv/CSVImportManager.h"

namespace quillon::bench {

namespace {

double Seconds(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// `isPlain`: dates and amounts show how they are written within the first rows; else nowhere,
// and all must be read to know that.
std::string MakeText(int64_t rows, bool isPlain) {
    std::string text = "Date,Description,Amount,Balance,Type,Reference\n";
    CRowSource source(1);
    double balance = 0.0;
    for (int64_t i = 0; i < rows; ++i) {
        const Row row = source.Next();
        const double amount = isPlain ? row.amount : std::ceil(row.amount);
        balance += amount;
        const std::string date = FormatIsoDate(DateOfRow(i));
        const int day = std::stoi(date.substr(8)) % 12 + 1;
        char line[160];
        std::snprintf(line, sizeof line, "%s/%s/%s,\"Shop %lld\",%.*f,%.*f,POS,%09lld\n",
                      date.substr(5, 2).c_str(),
                      isPlain ? date.substr(8).c_str() : std::to_string(day).c_str(),
                      date.substr(0, 4).c_str(), static_cast<long long>(row.payee), isPlain ? 2 : 0,
                      amount, isPlain ? 2 : 0, balance, static_cast<long long>(i));
        text += line;
    }
    return text;
}

double FindShape(const std::string& text) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        CImportNotes notes;
        Dialect dialect;
        CCsvShapeFinder finder(text, false, notes);
        best = std::min(best, Seconds([&] {
                            if (!finder.Find({}, {}, dialect)) Die("csv: no shape");
                        }));
    }
    return best;
}

double Import(const std::string& folder, const std::string& text) {
    const std::string path = folder + ".csv";
    std::ofstream(path, std::ios::binary) << text;
    double seconds = 0.0;
    {
        CQuillonDatabaseInterface database;
        if (!database.Open(folder).opened) Die("csv: no ledger");
        CLedger ledger(database);
        CAccountEntry account;
        account.name = "Everything";
        if (ledger.OpenAccount(account, 0.0, 0) != LedgerStatus::Ok) Die("csv: no account");
        CCSVImportManager importer(database, account, path);
        seconds = Seconds([&] {
            if (importer.Import().failed) Die("csv: the import failed");
        });
    }
    std::filesystem::remove(path);
    std::filesystem::remove_all(folder);
    return seconds;
}

}  // namespace

void MeasureCsv(const std::string& folder) {
    std::printf("%-40s %9s %9s\n", "file in columns", "100,000", "1,000,000");
    const std::string texts[] = {MakeText(100'000, true), MakeText(1'000'000, true)};
    std::printf("%-40s %6.1f ms %6.1f ms\n", "shape found", 1e3 * FindShape(texts[0]),
                1e3 * FindShape(texts[1]));
    std::printf("%-40s %6.1f ms %6.1f ms\n", "shape found, nothing tells till the end",
                1e3 * FindShape(MakeText(100'000, false)),
                1e3 * FindShape(MakeText(1'000'000, false)));
    std::printf("%-40s %7.2f s %7.2f s\n", "entered into an empty account",
                Import(folder, texts[0]), Import(folder, texts[1]));
}

}  // namespace quillon::bench
