// quillon-faults KIND [options]: status 0 when no fault was found, 1 when one was, 2 for
// wrong usage.

#include <malloc.h>

#include <CLI/CLI.hpp>
#include <exception>

#include "Faults.h"

namespace quillon {

void Say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void CFaultsReport::Fault(const std::string& what) {
    ++m_faults;
    if (m_faults <= kMostLines) std::fprintf(stderr, "fault: %s\n", what.c_str());
    if (m_faults == kMostLines) std::fprintf(stderr, "fault: more of them are only counted\n");
}

std::map<std::string_view, FaultsKind>& FaultsKinds() {
    static std::map<std::string_view, FaultsKind> kinds;
    return kinds;
}

namespace {

int RunKind(const std::string& name, const FaultsKind& kind, const FaultsOptions& options) {
    CFaultsReport report;
    kind.run(options, report);
    Say("faults: " + name + ": " + std::to_string(report.Cases()) + " cases, " +
        std::to_string(report.Faults()) + " faults");
    // A machine that tried nothing has shown nothing.
    return report.Faults() == 0 && report.Cases() > 0 ? 0 : 1;
}

int Run(int count, char** words) {
    CLI::App program("Breaks the record store in every way of one kind and looks at what is left");
    program.require_subcommand(1);
    FaultsOptions options;
    options.program = QUILLON_CLI_PROGRAM;
    int status = 0;
    for (const auto& entry : FaultsKinds()) {
        const std::string name(entry.first);
        const FaultsKind kind = entry.second;
        CLI::App* const command = program.add_subcommand(name, kind.help);
        command->add_flag("--long", options.isLong, "Every case instead of the short form");
        command->add_option("--rounds", options.rounds, "How often, for what repeats at random")
            ->check(CLI::PositiveNumber);
        command->add_option("--seed", options.seed, "Of everything random");
        command->add_option("--only", options.only, "Workloads or files whose name contains this");
        command->add_option("--program", options.program, "The command line to start");
        command->callback(
            [&status, &options, name, kind] { status = RunKind(name, kind, options); });
    }
    CLI11_PARSE(program, count, words);
    return status;
}

}  // namespace
}  // namespace quillon

int main(int count, char** words) {
#ifdef M_MMAP_THRESHOLD
    // Disks in memory are copied all the time: giving their pages back after each takes
    // four fifths of the machines' time.
    constexpr int kLargest = 1 << 30;
    (void)mallopt(M_MMAP_THRESHOLD, kLargest);
    (void)mallopt(M_TRIM_THRESHOLD, kLargest);
#endif
    try {
        const int status = quillon::Run(count, words);
        return status > 2 ? 2 : status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "faults: %s\n", error.what());
        return 1;
    }
}
