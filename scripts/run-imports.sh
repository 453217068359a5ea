#!/usr/bin/env bash
# Imports bank downloads into a ledger and shows the registers.
#
#   run-imports.sh QUILLON-CLI [FILE...]
#
# Each FILE (QFX, OFX or QIF) goes into an account named after it; without FILE
# those of examples/ do, with the names and opening balances of
# examples/accounts.txt. A file that fails is reported and the others go on;
# then the status is 1. QUILLON_DATABASE names the ledger's folder; without it
# the ledger is build/run/database, made afresh. The files given are not
# touched: the importer, which may rewrite what it reads, gets copies.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
CLI=$1
shift

say() { printf '%s\n' "$*"; }
complain() { printf 'run: %s\n' "$*" >&2; }

# The first bytes of FILE as one line of plain text.
head_of() { head -c 65536 -- "$1" | tr -d '\000' | tr -s '\r\n' ' '; }

# qfx, qif or csv by extension, else qfx or qif by content; nothing when it is none.
kind_of() {
    local file=$1 start
    case ${file,,} in
    *.qif) echo qif && return ;;
    *.qfx | *.ofx) echo qfx && return ;;
    *.csv) echo csv && return ;;
    esac
    start=$(head_of "$file")
    if [[ ${start^^} == *OFXHEADER* || ${start^^} == *"<OFX>"* ]]; then
        echo qfx
    elif [[ ${start^^} == *"!TYPE:"* || ${start^^} == *"!ACCOUNT"* ]]; then
        echo qif
    fi
}

# The account type that FILE speaks of, where it says so.
type_of() {
    local start name
    start=$(head_of "$1")
    name=$(basename -- "$1")
    case ${start^^} in
    *"<CCSTMTRS>"* | *"<CREDITCARDMSGSRSV1>"* | *"<ACCTTYPE>CREDITLINE"* | *"!TYPE:CCARD"*) echo credit ;;
    *"<INVSTMTRS>"* | *"!TYPE:INVST"*) echo investment ;;
    *"<ACCTTYPE>SAVINGS"* | *"<ACCTTYPE>MONEYMRKT"*) echo savings ;;
    *"!TYPE:OTH L"*) echo loan ;;
    *) if [[ ${name,,} == *saving* ]]; then echo savings; else echo checking; fi ;;
    esac
}

# Name, type, opening balance and its date of one of our examples, from
# accounts.txt, into NAME, TYPE, BALANCE and DATE. Status 1: not listed.
describe_example() {
    local file
    while IFS='|' read -r file NAME TYPE BALANCE DATE; do
        [[ $file != "$(basename -- "$1")" ]] || return 0
    done < <(grep -v '^#' "$ROOT/examples/accounts.txt")
    return 1
}

# A name for FILE's account that this run has not used: "statement", "statement 2".
declare -A used=()
name_account() {
    local base count=2
    base=$(basename -- "$1")
    base=${base%.*}
    [[ -n $base ]] || base=$(basename -- "$1")
    NAME=$base
    while [[ -n ${used[$NAME]:-} ]]; do
        NAME="$base $count"
        count=$((count + 1))
    done
}

# import_file FILE EXAMPLE: one account, one import, one register.
import_file() {
    local file=$1 example=$2 kind copy opening=()
    if [[ ! -f $file || ! -r $file ]]; then
        complain "$file: no such file, or it cannot be read"
        return 1
    fi
    kind=$(kind_of "$file")
    if [[ -z $kind ]]; then
        complain "$file: neither QFX, OFX, QIF nor .csv; ask the bank's site for one of these"
        return 1
    fi
    if [[ $example == yes ]] && describe_example "$file"; then
        opening=(--balance "$BALANCE" --date "$DATE")
    else
        name_account "$file"
        TYPE=$(type_of "$file")
    fi
    used[$NAME]=1

    say ""
    say "== $NAME ($TYPE) from $file"
    # An account of that name in a ledger that was there before is used as it is.
    if ! quillon transaction list "$NAME" >/dev/null 2>&1; then
        quillon account add "$NAME" --type "$TYPE" "${opening[@]}" >/dev/null || return 1
    fi
    # Imported by its own name, so that what is said about it names what the user gave.
    copy=./$(basename -- "$file")
    cp -- "$file" "$copies/$copy"
    chmod u+w "$copies/$copy"
    (cd "$copies" && quillon import "$kind" "${copy#./}" --account "$NAME") || return 1
    rm -f -- "$copies/$copy"
    say ""
    quillon transaction list "$NAME" || return 1
}

quillon() { "$CLI" --database "$database" "$@" </dev/null; }

if [[ -n ${QUILLON_DATABASE:-} ]]; then
    database=$(realpath -m -- "$QUILLON_DATABASE")
else
    database=$ROOT/build/run/database
    rm -rf -- "$database"
fi
mkdir -p -- "$(dirname -- "$database")"
# Anything but an empty or absent folder is taken for a ledger and opened.
if [[ ! -d $database || -z $(ls -A -- "$database") ]]; then
    quillon init || exit 1
fi

copies=$(mktemp -d)
trap 'rm -rf -- "$copies"' EXIT

example=no
if (($# == 0)); then
    example=yes
    set -- "$ROOT"/examples/*.q[fi][xf]
fi
failed=0
for file in "$@"; do
    import_file "$file" "$example" || failed=$((failed + 1))
done

say ""
say "== Accounts"
quillon account list || exit 1
say ""
say "The ledger is in $database"
say "Look further with: $CLI --database $database --help"
if ((failed)); then
    complain "$failed of $# files could not be imported; see above"
    exit 1
fi
