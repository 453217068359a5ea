#!/usr/bin/env bash
# Runs the same command lines with two programs, each in a fresh folder, and compares byte for
# byte what they print, their exit status and the files they write: whether a change of the
# command line's inside shows outside.
#
#   compare-cli.sh BEFORE AFTER     two quillon-cli programs
#
# Every command of docs/command-line.md is there: its help, good and bad usage, with --json and
# without. Prints what differs; status 1 if anything does.
set -euo pipefail

(($# == 2)) || {
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
EXAMPLES=$(cd "$(dirname "${BASH_SOURCE[0]}")/../examples" && pwd)
WORK=$(mktemp -d)
readonly EXAMPLES WORK
trap 'rm -rf "$WORK"' EXIT

# The commands, and what makes each of them whole.
readonly GROUPS_OF_COMMANDS=(account transaction category payee rule import export check
    "check format" password settings)
readonly COMMANDS=(init verify "account add" "account edit" "account list" "account close"
    "account reopen" "transaction list" "transaction add" "transaction edit" "transaction delete"
    transfer "category list" "category add" "category rename" "category delete" "payee list"
    "payee add" "payee rename" "payee delete" "rule list" "rule add" "rule rename" "rule delete"
    "rule try" "rule suggest" "rule apply"
    "import qif" "import qfx" "import csv" "export csv" "export qif" reconcile "check words"
    "check format show" "check format set" "check print" "check test" backup restore
    "password set" "password clear" "password check" "settings get" "settings set"
    "settings list" quote demo)

count=0

# --- one command line; standard input is no terminal
run() {
    local status=0
    count=$((count + 1))
    "$program" "$@" </dev/null >"$place.out" 2>"$place.err" || status=$?
    {
        printf '=== %s' "$count"
        printf ' %q' "$@"
        printf '\n--- out\n'
        # How small a backup gets depends on the times that it holds.
        sed -E "s/stored in [0-9,]+ bytes/stored in N bytes/; s|$place|HERE|g; s/[0-9a-f]{16} [0-9a-f]{16} HERE/IDS HERE/" "$place.out"
        printf -- '--- err\n'
        sed "s|$place|HERE|g" "$place.err"
        printf -- '--- status %s\n' "$status"
    } >>"$transcript"
}
on() { run --database ledger "$@"; }
# For people and for programs.
both() {
    on "$@"
    on --json "$@"
}
show() {
    printf '=== file %s\n' "$1" >>"$transcript"
    cat "$1" >>"$transcript" 2>&1 || true
}

# --- what does not need a ledger
usage() {
    run
    run --help
    run -h
    run --version
    run --version --json
    run --json
    run --database
    run --nonsense
    run nonsense
    run acount
    run "" ""
    run -- init
    run --database ledger
    local group command
    for group in "${GROUPS_OF_COMMANDS[@]}"; do
        # shellcheck disable=SC2086
        {
            run $group
            run $group --help
            run $group --json
            run $group nonsense
            run $group lst
            run $group ad
            run $group rename add
            run $group --nonsense
            run $group -- list
        }
    done
    for command in "${COMMANDS[@]}"; do
        # shellcheck disable=SC2086
        {
            run $command --help
            run $command -h --json
            run $command --help nonsense
            on $command --nonsense
            on $command --nonsense=1 Checking
            on --json $command a b c d e f
            on $command --json --database
            on $command a --account
            on $command -x
        }
    done
    # Without what they need; a ledger is made by some of these, and by neither or both.
    for command in "${COMMANDS[@]}"; do
        # shellcheck disable=SC2086
        {
            on $command
            on $command ""
            on $command Checking
            on $command Checking other
        }
    done
}

values() {
    on account add X --type
    on account add X --type nonsense
    on account add X --type CHECKING --balance abc
    on account add X --type=5
    on account add X --type checking --type savings
    on account add X --type checking --date 2024-02-30
    on account add X Y --type checking
    on account add --type checking
    on account add --json=maybe X --type checking
    on transaction add Checking --type nonsense --date 2024-01-01 --amount 1
    on transaction add Checking --type payment --amount 1
    on transaction add Checking --type payment --date 2024-01-01 --amount -1
    on transaction add Checking --type payment --date 2024-01-01 --amount 1 --electronic atm
    on transaction edit 1
    on transaction edit abc --amount 1
    on import qif file.qif --account Checking --dialect guess
    on import qif file.qif --account Checking --dialect AUTO
    on import qfx file.qfx --account Checking --date-order ydm
    on import qfx file.qfx --account Checking --decimal dot
    on import qif file.qif --account Checking --notes none
    on import qif file.qif --account Checking --match all
    on import qif file.qif --account Checking --dialect plain --source all
    on import qif --account Checking
    on import csv file.csv --account Checking --map date
    on import csv file.csv --account Checking --delimiter ab
    on import csv file.csv --account Checking --skip -1
    on import csv file.csv --account Checking --profile Nobody
    on reconcile Checking --balance 1 --days many
    on reconcile Checking --balance 1 --days 99999999999999999999
    on reconcile Checking --balance 1 --max 1.5
    on reconcile Checking --balance 1 --cleared
    on reconcile Checking
    on check format set Checking --vertical --horizontal
    on check format set Checking --horizontal --vertical
    on check format set Checking --vertical=maybe
    on check print Checking --transaction 1
    on check print Checking --svg c.svg
    run quote ACME --service one
    run quote ACME --service 99999999999
    run quote ACME --service 1 --page page.html --fall-through
    run quote ACME --fall-through --page page.html
    run quote ACME --service 0
    run quote ACME --service 7
    run quote --json ACME --fall-through
    run quote 'A B'
    run --password-file
    run init --password-file
}

# --- a ledger's life
accounts() {
    both init
    both account list
    on account add Checking --type checking --balance 2406.57 --date 2024-03-31
    on account add Savings --type Savings --json
    run account add Visa --type credit --balance -262.33 --date 2024-03-31 --database ledger
    on --json account add 'Jürgen "x" \ /' --type loan --description $'caf\xc3\xa9'
    both account add Checking --type checking
    both account add Odd --type investment --balance 5 --description ''
    both account add --type credit --balance 5 -- -dash
    both account add $'bad\xff' --type checking
    both account add '' --type checking
    both account edit checking --description 'First Marlow Bank'
    both account edit Odd --type credit
    both account edit Odd --name ''
    both account edit Chekcing --name X
    both account close Odd
    both account close Savings
    both account reopen Savings
    both account reopen Nobody
    both account list
}

transactions() {
    both transaction list Checking
    both transaction list Savings
    both transaction add Checking --type payment --date 2024-04-03 --amount 41.77 \
        --payee 'Peak Fuel' --category Gas --check 1024
    both transaction add Checking --type Deposit --date 2024-04-05 --amount 2,318.44 \
        --payee Employer --category Income --electronic EFT
    both transaction add Visa --type charge --date 2024-04-06 --amount 0.01 --electronic '' \
        --memo $'two\tparts' --payee ''
    both transaction add Visa --type charge --date 2024-04-06 --amount 12345678.9 --memo 'ü 東京'
    both transaction add Nobody --type charge --date 2024-04-06 --amount 1
    both transaction add Odd --type charge --date 2024-04-06 --amount 1
    both transaction add Checking --type payment --date 2024-04-07 --amount 1 --category None
    both transfer Checking Visa --amount 500 --date 2024-04-22 --memo 'Card payment'
    both transfer Checking Checking --amount 500
    both transfer Checking Savings --amount 1.5
    both transaction list Checking
    both transaction list Checking --from 2024-04-04 --to 2024-04-30
    both transaction list Checking --from 2024-05-04 --to 2024-04-30
    both transaction list Checking --payee 'p*' --category Gas
    both transaction list Checking --payee Nobody
    both transaction list Checking --contains card
    both transaction list Checking --contains ''
    both transaction list Checking --to ''
    both transaction edit 4 --amount 42 --memo ''
    both transaction edit 4 --account Visa
    both transaction edit 12 --amount 501 --both
    both transaction edit 4 --both --memo x
    both transaction edit 999 --memo x
    both transaction edit 5 --payee ''
    both transaction delete 5
    on transaction delete 12 --both
    on --json transaction delete 14 --both
    both transaction list Checking
    both transaction list Visa
}

names() {
    local group
    for group in category payee; do
        both $group list
        both $group add Hobby
        on $group add Garden --json
        both $group add ''
        both $group rename Hobby Leisure
        both $group rename Garden Leisure
        both $group rename Nobody X
        both $group delete Leisure
        both $group delete Garden --to Nobody
        both $group delete Garden --to Garden
    done
    both category delete Gas
    both category delete Gas --to 'Auto Expenses'
    both category rename Transfer Move
    both category delete Income --to ''
    both payee delete 'Peak Fuel'
    both payee delete 'Peak Fuel' --to Employer
    both rule list
    both rule add GREENLEAF 'Greenleaf Market'
    both rule add '' X
    both rule add PEAK ''
    both rule rename PEAK PEAKFUEL
    both rule rename PEAKFUEL PEAK 'Peak Fuel'
    both rule rename PEAK PEAK ''
    both rule rename 77 X
    both rule list
    both rule try 'GREENLEAF 12'
    both rule try nothing
    both rule suggest
    both rule apply --dry-run
    both rule apply --from 2024-02-01
    both rule apply
    both rule delete GREENLEAF
    both rule delete 77
}

imports() {
    local file kind
    for file in *.qif *.qfx *.ofx; do
        [[ -e $file ]] || continue
        kind=qfx
        [[ $file != *.qif ]] || kind=qif
        both import $kind "$file" --account Savings --dry-run
        both import $kind "$file" --account Savings --dialect plain --notes all --dry-run
        both import $kind "$file" --account Savings --date-order dmy --decimal comma --dry-run
        both import $kind "$file" --account Savings --source all
        both import $kind "$file" --account Savings --match none
        both import $kind "$file" --account Odd
        both import $kind "$file" --account Nobody
    done
    both import qif nothing.qif --account Savings
    both import qfx nothing.qfx --account Savings
    both transaction list Savings
}

files() {
    local kind
    for kind in csv qif; do
        on export $kind Savings savings.$kind
        on export $kind Savings savings.$kind
        both export $kind Savings savings.$kind --overwrite
        both export $kind Savings ledger
        both export $kind Nobody n.$kind
        show savings.$kind
    done
    both check words 1234.56
    both check words 0.5
    both check words 1000000000
    both check words -1
    both check words abc
    both check format show Checking
    both check format show Visa
    both check format set Checking --date 12,2000,200 --width 8.25 --vertical
    both check format set Checking --horizontal
    both check format set Checking --memo x
    both check format set Checking --width 0
    both check format set Checking
    on check test Checking --svg try.svg
    both check test Checking --svg try.svg
    both check test Checking --svg try.svg --overwrite
    show try.svg
    both check print Checking --transaction 1 --svg check.svg
    both check print Checking --transaction 6 --svg check.svg --memo 'Rent March'
    both check print Checking --transaction 15 --svg check.svg --number 2000 --overwrite
    both check print Checking --transaction 999 --svg check2.svg
    both check print Checking --transaction 6 --svg check2.svg --number 0
    both check print Nobody --transaction 6 --svg check2.svg
    show check.svg
}

reconciling() {
    both reconcile Checking --balance 6998.68
    both reconcile Checking --balance 7000.18
    both reconcile Checking --balance 7000.18 --days 90 --max 5
    both reconcile Checking --balance 7000.18 --days 100 --max -1
    both reconcile Checking --balance 7000.18 --cleared 6,15 --yes
    both reconcile Checking --balance 7000.18 --cleared 6 17
    both reconcile Checking --balance 7000.18 --cleared 999
    both reconcile Checking --balance 7000.18 --cleared x
    both reconcile Odd --balance -3
    both reconcile Nobody --balance 1
}

keeping() {
    both verify
    both verify --repair
    both backup
    both backup ledger.backup
    both backup ledger
    both backup ledger/inside.dat
    both restore ledger.backup --to copy
    both restore ledger.backup --to copy --overwrite
    both restore nothing.backup --to copy2
    run --database copy account list
    both password check
    both password clear
    both password set
    printf 'first secret\nmore\n' >first
    printf 'second secret' >second
    : >empty
    both password set --new-password-file empty
    both password set --new-password-file nothing
    on password set --password-file first
    both password check --password-file first
    both password check --password-file second
    both account list
    on --json --password-file first password set --new-password-file second
    both account list --password-file second
    both backup protected.backup --password-file second
    both restore protected.backup --to copy3
    both restore protected.backup --to copy3 --password-file first
    both restore protected.backup --to copy3 --password-file second
    both password clear --password-file second
    printf 'x' | dd of=ledger/Table_3_data.dat bs=1 seek=205 conv=notrunc status=none
    both verify
    both verify --repair
    both verify
}

settings() {
    run settings list
    run settings list FileFolder
    run --json settings list filefolder
    run settings list Nothing
    run --json settings list Nothing
    run settings get FileFolder DatabasePath
    run settings set FileFolder DatabasePath ledger
    run --json settings set Mine 'a "key"' $'caf\xe9'
    run --json settings get Mine 'a "key"'
    run settings get Mine nothing
    run settings set Mine 'a "key"' ''
    run settings set Mine $'two\nlines' x
    run account list
    run settings set FileFolder DatabasePath ''
    run account list
}

quotes() {
    printf '<meta name="price" content="12.5"><meta name="name" content="Acme" />' >page.html
    touch -d 2026-03-31T14:05:09Z page.html
    run quote ACME --service 2 --page page.html
    run --json quote ACME --service 2 --page page.html
    run quote ACME --service 1 --page page.html
    run quote ACME --page nothing.html
    run quote ACME --page ledger
    run settings set LastSelection LastSelectedStockQuoteService 2
    run quote ACME --page page.html
}

sample() {
    run demo sample
    run demo sample
    run --json demo other
    run demo ''
    run --database other account list
    run --database other transaction list 'Everyday Checking' --from 2024-12-01 --json
    run --database other transaction list 'Everyday Checking' --contains market
    run --database other --json verify
    run --database other reconcile 'Everyday Checking' --balance 5000 --days 20 --max 4
    run --database other --json reconcile 'Everyday Checking' --balance 5000 --days 20 --max 4
    run --database other export csv 'Everyday Checking' everyday.csv
    sha256sum everyday.csv >>"$transcript"
}

# `place` is a folder whose name is as long for both programs: tables are as wide as it.
scenario() {
    program=$1
    place=$2
    transcript=$place.txt
    mkdir "$place"
    cp "$EXAMPLES"/*.q?? "$place"
    cd "$place"
    export QUILLON_SETTINGS=$place/Quillon.cfg
    usage
    # What stands there after wrong usage shall be the same, too.
    ls -R >>"$transcript"
    rm -rf ledger
    values
    accounts
    transactions
    names
    imports
    files
    reconciling
    keeping
    settings
    quotes
    sample
    ls >>"$transcript"
    echo "$count command lines" >>"$transcript"
}

before=$(realpath "$1")
after=$(realpath "$2")
scenario "$before" "$WORK/1" &
scenario "$after" "$WORK/2"
wait "$!"
if ! diff -u -a --label "$1" --label "$2" "$WORK/1.txt" "$WORK/2.txt"; then
    echo "compare-cli: the programs differ" >&2
    exit 1
fi
echo "compare-cli: no difference in $(tail -n 1 "$WORK/1.txt")"
