#!/usr/bin/env bash
# Changes one check of src/ at a time and expects the test that is named with it to fail.
# scripts/mutants.sh ROOT [WORDS...]: only mutants whose file or text holds one of the words.
#
# Works in a copy of the tree in build/mutants/, which is kept, so that a second run builds
# little. tests/mutants/*.txt hold the mutants; CONTRIBUTING.md says how.
set -euo pipefail

ROOT=$1
shift
readonly ROOT COPY="$ROOT/build/mutants"
readonly LOG="$COPY.log" SECONDS_EACH=${MUTANT_SECONDS:-300}
export CCACHE_BASEDIR="$COPY" CCACHE_NOHASHDIR=1

# The tree as it is, with what is not committed. Files that are the same keep their times.
copy_tree() {
    mkdir -p "$COPY"
    (cd "$ROOT" && git ls-files -z --cached --others --exclude-standard) |
        while IFS= read -r -d '' file; do
            if [[ ! -f $ROOT/$file ]]; then
                rm -f "$COPY/$file"
            elif ! cmp -s "$ROOT/$file" "$COPY/$file"; then
                mkdir -p "$COPY/$(dirname "$file")"
                cp -p "$ROOT/$file" "$COPY/$file"
                touch "$COPY/$file"
            fi
        done
    # What is gone from the tree; the globs of CMake would still find it.
    local gone
    (cd "$COPY" && find src tests bench -type f) | while IFS= read -r gone; do
        [[ -e $ROOT/$gone ]] || rm -f "$COPY/$gone"
    done
}

# Reads the mutants into arrays. A block is four lines: the file, `-` and the text that is
# there once, `+` and what it becomes, and the program of the tests with its arguments.
files=() olds=() news=() tests=()
read_mutants() {
    local list file old new run word
    for list in "$ROOT"/tests/mutants/*.txt; do
        while IFS= read -r file; do
            [[ -n $file && $file != '#'* ]] || continue
            old='' new='' run=''
            IFS= read -r old
            IFS= read -r new
            IFS= read -r run
            if [[ $old != '- '* || $new != '+'* || -z $run ]]; then
                echo "mutants: not a mutant: $file, $old" >&2
                exit 2
            fi
            for word in "${words[@]}"; do
                [[ "$file $old $run" == *"$word"* ]] || continue
                files+=("$file") olds+=("${old:2}") news+=("${new:2}") tests+=("$run")
                break
            done
        done <"$list"
    done
}

# run_test TEST: the program of a test, as in "test_storage Journal*" or
# "quillon-faults power --only batch". A test that hangs fails.
run_test() {
    local parts
    read -ra parts <<<"$1"
    local arguments=("${parts[@]:1}")
    [[ ${parts[0]} != test_* ]] || arguments=("--gtest_brief=1" "--gtest_filter=${parts[1]}")
    timeout "$SECONDS_EACH" "$COPY/build/debug/bin/${parts[0]}" "${arguments[@]}" </dev/null >"$LOG" 2>&1
}

build() { cmake --build "$COPY/build/debug" --parallel "${JOBS:-$(nproc)}" --target "$@" >"$LOG" 2>&1; }

# On the tree as it is every test that is named must run, and pass.
try_unchanged() {
    local test program targets
    mapfile -t targets < <(printf '%s\n' "${tests[@]}" | cut -d' ' -f1 | sort -u)
    echo "mutants: building ${targets[*]}" >&2
    if ! (cd "$COPY" && cmake --preset debug) >"$LOG" 2>&1 || ! build "${targets[@]}"; then
        tail -n 30 "$LOG" >&2
        echo "mutants: the tree does not build" >&2
        exit 1
    fi
    while IFS= read -r test; do
        program=${test%% *}
        if [[ $program == test_* ]] && ! "$COPY/build/debug/bin/$program" --gtest_list_tests \
            --gtest_filter="${test#* }" | grep -q '^  '; then
            echo "mutants: no test is called '$test'" >&2
            exit 1
        fi
        if ! run_test "$test"; then
            tail -n 30 "$LOG" >&2
            echo "mutants: '$test' fails without any change" >&2
            exit 1
        fi
    done < <(printf '%s\n' "${tests[@]}" | sort -u)
}

# mutate FILE OLD NEW: false when the text is not there exactly once.
mutate() {
    local text rest
    cp "$COPY/$1" "$COPY.file"
    text=$(cat "$COPY/$1" && echo .)
    rest=${text#*"$2"}
    [[ $rest != "$text" && $rest != *"$2"* ]] || return 1
    printf '%s' "${text%%"$2"*}$3${rest%.}" >"$COPY/$1"
}

# Says what became of a mutant.
try_mutant() {
    mutate "${files[$1]}" "${olds[$1]}" "${news[$1]}" || { echo "does not apply"; return; }
    local status=0
    if ! build "${tests[$1]%% *}"; then
        echo "does not compile"
    else
        run_test "${tests[$1]}" || status=$?
        case $status in
        0) echo "SURVIVES" ;;
        124) echo "red (hangs)" ;;
        *) echo "red" ;;
        esac
    fi
    cp "$COPY.file" "$COPY/${files[$1]}"
}

words=("$@")
((${#words[@]} > 0)) || words=("")
read_mutants
((${#files[@]} > 0)) || { echo "mutants: none named so" >&2; exit 1; }
copy_tree
try_unchanged
left=0
for i in "${!files[@]}"; do
    start=$SECONDS
    outcome=$(try_mutant "$i")
    [[ $outcome == red* ]] || left=$((left + 1))
    printf '%-16s %4d s  %s: %s -> %s  [%s]\n' "$outcome" "$((SECONDS - start))" \
        "${files[$i]#src/}" "${olds[$i]}" "${news[$i]:-(nothing)}" "${tests[$i]}"
done
echo "mutants: ${#files[@]} tried, $((${#files[@]} - left)) turn their test red"
((left == 0))
