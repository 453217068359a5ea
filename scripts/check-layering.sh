#!/usr/bin/env bash
# Holds the includes of src/ to the floors that CMakeLists.txt declares, the
# platform to its seam, and large libraries to one file each. Prints each breach as file:line: reason; status 1 if any.
#
#   check-layering.sh [TREE]        TREE defaults to this repository
#   check-layering.sh --self-test   proves that each rule can fail
set -euo pipefail

HERE=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

check_tree() {
    local tree=$1
    find "$tree/src" -type f \( -name '*.h' -o -name '*.cpp' \) | sort | awk -v tree="$tree" '
        # The floors: quillon_library(NAME DEPENDS a b PRIVATE x), lowest first,
        # so that what a floor may use is known before a higher one names it.
        function read_floors(   line, words, count, i, name, used, part) {
            while ((getline line < (tree "/CMakeLists.txt")) > 0) {
                if (line !~ /^quillon_library\(/) continue
                gsub(/^quillon_library\(|\)/, "", line)
                count = split(line, words, " ")
                name = words[1]
                floors[name] = 1
                allowed[name, name] = 1
                for (i = 2; i <= count && words[i] != "PRIVATE"; ++i) {
                    if (words[i] == "DEPENDS") continue
                    allowed[name, words[i]] = 1
                    for (used in floors)
                        if ((words[i], used) in allowed) allowed[name, used] = 1
                }
            }
            # The top floor stands on all of them.
            for (used in floors) allowed["cli", used] = allowed["app", used] = 1
            floors["cli"] = floors["app"] = 1
            allowed["cli", "cli"] = allowed["app", "app"] = 1
        }
        function breach(reason) {
            printf "%s:%d: %s\n", path, number, reason
            ++breaches
        }
        function check_line(line,   target) {
            if (line ~ /^[ \t]*#[ \t]*(el)?if/ && path !~ /^src\/foundation\/platform\// &&
                line ~ /_WIN32|_WIN64|__MINGW|_MSC_VER|__linux__|__unix__|__APPLE__/)
                breach("platform condition outside src/foundation/platform/")
            # Above finance nothing reaches through to the record store.
            if (line ~ /[.>]Store\(\)/ && !(folder in below)) breach("the record store is finance'\''s own")
            if (line !~ /^[ \t]*#[ \t]*include/) return
            if (line ~ /<(windows|winsock2|wininet|curl\/curl|io|unistd|fcntl|dirent|pthread|sys\/[a-z]+)\.h>/ &&
                path !~ /\/platform\// && path !~ /(Posix|Windows)\.cpp$/)
                breach("system header outside a platform seam")
            # Whoever includes these compiles them.
            if ((line ~ /<CLI\// && path != "src/cli/Parser.cpp") ||
                (line ~ /<nlohmann\// && path != "src/cli/terminal/Json.cpp"))
                breach("library included outside the one file for it")
            if (line !~ /"/) return
            target = line
            sub(/^[^"]*"/, "", target)
            sub(/".*/, "", target)
            if (target !~ /\// || target ~ /\.\.\//) {
                breach("include \"" target "\" is not written from src/")
                return
            }
            sub(/\/.*/, "", target)
            if (!(target in floors)) breach("include of unknown folder " target)
            else if (!((folder, target) in allowed)) breach(folder " may not use " target)
        }
        BEGIN {
            read_floors()
            below["foundation"] = below["storage"] = below["query"] = below["finance"] = 1
        }
        {
            file = $0
            path = substr(file, length(tree) + 2)
            split(path, parts, "/")
            folder = parts[2]
            number = 0
            if (!(folder in floors)) breach("folder " folder " is on no floor")
            while ((getline line < file) > 0) {
                ++number
                check_line(line)
            }
            close(file)
            ++files
        }
        END {
            if (files == 0) { print "layering: no sources found"; exit 1 }
            if (breaches > 0) { printf "layering: %d breaches\n", breaches; exit 1 }
            printf "layering: %d files keep to their floors\n", files
        }'
}

# Each line below, alone in a tree with our floors, must be refused; the clean
# ones must pass.
self_test() {
    local tree status path text expected failures=0
    tree=$(mktemp -d)
    # shellcheck disable=SC2064
    trap "rm -rf '$tree'" EXIT
    while IFS='|' read -r expected path text; do
        rm -rf "${tree:?}/src"
        mkdir -p "$tree/$(dirname "$path")"
        cp "$HERE/CMakeLists.txt" "$tree/"
        printf '%s\n' "$text" >"$tree/$path"
        status=good
        check_tree "$tree" >/dev/null || status=bad
        if [[ $status != "$expected" ]]; then
            echo "layering self-test: $path with '$text' is $status, not $expected" >&2
            failures=$((failures + 1))
        fi
    done <<'CASES'
good|src/storage/A.cpp|#include "foundation/KeelString.h"
good|src/import/A.cpp|#include "storage/backup/Crypto.h"
good|src/cli/A.cpp|#include "reports/A.h"
good|src/quotes/A.cpp|#include "settings/A.h"
good|src/foundation/platform/FilePosix.cpp|#include <sys/stat.h>
good|src/foundation/platform/Seam.h|#ifdef _WIN32
good|src/cli/Parser.cpp|#include <CLI/CLI.hpp>
good|src/cli/terminal/Json.cpp|#include <nlohmann/json.hpp>
bad|src/foundation/A.cpp|#include "storage/backup/Crypto.h"
bad|src/storage/A.cpp|#include "settings/A.h"
bad|src/settings/A.h|#include "query/A.h"
bad|src/query/A.cpp|  #  include "finance/ledger/Ledger.h"
bad|src/import/A.cpp|#include "output/A.h"
bad|src/quotes/A.cpp|#include "finance/ledger/Ledger.h"
bad|src/finance/A.cpp|#include "cli/A.h"
bad|src/storage/A.cpp|#include "Crypto.h"
bad|src/storage/A.cpp|#include "../storage/Crypto.h"
bad|src/storage/A.cpp|#include "attic/A.h"
bad|src/attic/A.cpp|int a;
bad|src/storage/A.cpp|#ifdef _WIN32
bad|src/finance/A.h|#if defined(__linux__)
bad|src/storage/A.cpp|#include <windows.h>
bad|src/import/A.cpp|#include <unistd.h>
bad|src/quotes/A.cpp|#include <curl/curl.h>
bad|src/cli/A.h|#include <CLI/App.hpp>
bad|src/cli/Parser.cpp|#include <nlohmann/json.hpp>
good|src/finance/A.cpp|ledger.Database().Store().Verify(tables);
bad|src/presenters/A.cpp|CNoSQLDatabaseInterface query(m_workspace.Database().Store());
bad|src/output/A.cpp|database->Store();
CASES
    ((failures == 0))
}

if [[ ${1:-} == --self-test ]]; then
    self_test
else
    check_tree "${1:-$HERE}"
fi
