// Runs the fuzz targets once over given inputs, without a fuzzer, so that every build
// can: what a fuzzer found stays found. Prints each input before it is run; the last
// name printed is the one that failed.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "foundation/FileSystem.h"

#define QUILLON_FUZZ_TARGET(name, entry) extern "C" int entry(const uint8_t* data, size_t size);
#include "FuzzTargets.inc"
#undef QUILLON_FUZZ_TARGET

namespace quillon::fuzz {
namespace {

struct Target {
    const char* name;
    int (*run)(const uint8_t*, size_t);
};

constexpr Target kTargets[] = {
#define QUILLON_FUZZ_TARGET(name, entry) {#name, entry},
#include "FuzzTargets.inc"
#undef QUILLON_FUZZ_TARGET
};

constexpr const char* kUsage =
    "usage: quillon-fuzz-replay list\n"
    "       quillon-fuzz-replay seeds FOLDER         write the inputs to start from, by target\n"
    "       quillon-fuzz-replay all FOLDER           run FOLDER/TARGET and the seeds of every "
    "target\n"
    "       quillon-fuzz-replay TARGET [PATH...]     run files and the files of folders\n";

void RunOne(const Target& target, const std::string& name, const Bytes& bytes) {
    std::printf("%s: %s\n", target.name, name.c_str());
    std::fflush(stdout);
    // A copy of its very size, so that reading behind it is found out.
    const Bytes exact(bytes);
    target.run(exact.data(), exact.size());
}

// Files that were run; -1 when one could not be read.
int64_t RunPath(const Target& target, const std::string& path) {
    CFileSystem& files = PlatformFileSystem();
    if (!files.FolderExists(path)) {
        Bytes bytes;
        if (!ReadWholeFile(files, path, bytes)) {
            std::fprintf(stderr, "quillon-fuzz-replay: cannot read %s\n", path.c_str());
            return -1;
        }
        RunOne(target, path, bytes);
        return 1;
    }
    std::vector<std::string> names;
    if (!files.List(path, names)) return -1;
    std::sort(names.begin(), names.end());
    int64_t count = 0;
    for (const std::string& name : names) {
        const int64_t run = RunPath(target, WithTrailingSeparator(path) + name);
        if (run < 0) return -1;
        count += run;
    }
    return count;
}

int RunAll(const std::string& folder) {
    const Seeds seeds = MakeSeeds();
    for (const Target& target : kTargets) {
        int64_t count = 0;
        const auto own = seeds.find(target.name);
        if (own != seeds.end()) {
            for (const auto& [name, bytes] : own->second) RunOne(target, "seed " + name, bytes);
            count = static_cast<int64_t>(own->second.size());
        }
        const std::string path = WithTrailingSeparator(folder) + target.name;
        if (PlatformFileSystem().FolderExists(path)) {
            const int64_t run = RunPath(target, path);
            if (run < 0) return 1;
            count += run;
        }
        if (count == 0) {
            std::fprintf(stderr, "quillon-fuzz-replay: %s has no inputs\n", target.name);
            return 1;
        }
        std::printf("%s: %lld inputs, no findings\n", target.name, static_cast<long long>(count));
    }
    return 0;
}

int WriteSeeds(const std::string& folder) {
    CFileSystem& files = PlatformFileSystem();
    for (const auto& [target, inputs] : MakeSeeds()) {
        const std::string path = WithTrailingSeparator(folder) + target;
        for (const auto& [name, bytes] : inputs) {
            if (files.MakeFolder(path) &&
                WriteWholeFile(files, WithTrailingSeparator(path) + name, bytes)) {
                continue;
            }
            std::fprintf(stderr, "quillon-fuzz-replay: cannot write to %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}

int Main(const std::vector<std::string>& arguments) {
    const std::string command = arguments.empty() ? "" : arguments[0];
    if (command == "list" && arguments.size() == 1) {
        for (const Target& target : kTargets) std::printf("%s\n", target.name);
        return 0;
    }
    if (command == "all" && arguments.size() == 2) return RunAll(arguments[1]);
    if (command == "seeds" && arguments.size() == 2) return WriteSeeds(arguments[1]);
    for (const Target& target : kTargets) {
        if (command != target.name) continue;
        for (size_t i = 1; i < arguments.size(); ++i) {
            if (RunPath(target, arguments[i]) < 0) return 1;
        }
        return 0;
    }
    std::fputs(kUsage, stderr);
    return 2;
}

}  // namespace
}  // namespace quillon::fuzz

int main(int argc, char** argv) {
    quillon::fuzz::replaying = true;
    return quillon::fuzz::Main({argv + 1, argv + argc});
}
