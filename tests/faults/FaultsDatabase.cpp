#include "FaultsDatabase.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "StoreContent.h"
#include "StoreWorkloads.h"

namespace quillon {
namespace {

void Must(bool done, const char* what) {
    if (!done) throw std::runtime_error(std::string("a sample could not be made: ") + what);
}

// Without most of the room for coming commits, which is a million zeros to copy each time.
void TrimJournal(Bytes& journal) {
    while (journal.size() > 8192 && std::all_of(journal.end() - 8192, journal.end(),
                                                [](uint8_t byte) { return byte == 0; })) {
        journal.resize(journal.size() - 4096);
    }
}

// The three samples of a workload.
void AddSamples(const std::string& name, const StoreWorkload& workload,
                std::vector<FaultsSample>& samples) {
    const std::string journal = std::string(kLedgerFolder) + "/Journal.dat";
    CMemoryFileSystem files;
    {
        CWorkSession session(files, workload);
        Must(workload.prepare(session), "preparation");
    }
    CWorkSession session(files, workload);
    Must(session.Open() && session.Store().Flush(), "flush");
    const Disk flushed = files.Snapshot();
    std::vector<uint64_t> contents{ContentHash(session.Store(), Stamps::Kept)};
    for (const WorkStep& step : workload.steps) {
        if (step.opens) continue;
        Must(step.act(session), step.name);
        contents.push_back(ContentHash(session.Store(), Stamps::Kept));
    }
    Disk killed = files.Snapshot();
    TrimJournal(killed.at(journal));
    const uint64_t last = contents.back();
    contents.pop_back();
    // Written to the journal, and to no file yet.
    Disk unapplied = flushed;
    unapplied[journal] = killed.at(journal);
    Must(session.Store().Close(), "close");
    samples.push_back({name, files.Snapshot(), last});
    samples.push_back({name + "-killed", killed, last, contents});
    samples.push_back({name + "-unwritten", unapplied, last, contents});
}

std::array<char, 256> currentCase{};

extern "C" void OnCrash(int number) {
    std::fprintf(stderr, "fault: crash (signal %d) in case: %s\n", number, currentCase.data());
    std::fflush(stderr);
    std::_Exit(3);
}

}  // namespace

std::vector<FaultsSample> AllSamples() {
    std::vector<FaultsSample> samples;
    for (const StoreWorkload& workload : StoreWorkloads()) {
        const std::string_view name = workload.name;
        if (name == "single commits") AddSamples("store", workload, samples);
        if (name == "money between accounts") AddSamples("ledger", workload, samples);
    }
    return samples;
}

// --- crashes

void NameCaseOnCrash() {
    for (const int number : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) std::signal(number, OnCrash);
}

void SetCurrentCase(const std::string& name) {
    const size_t length = std::min(name.size(), currentCase.size() - 1);
    std::copy_n(name.begin(), length, currentCase.begin());
    currentCase[length] = '\0';
}

}  // namespace quillon
