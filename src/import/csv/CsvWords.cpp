#include "import/csv/CsvWords.h"

#include <algorithm>
#include <span>
#include <unordered_set>

#include "foundation/Unicode.h"
#include "import/text/CurrencyNames.h"
#include "import/text/MonthNames.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

// Patterns with "|" between them, of which a heading may hold any; a blank is the end of a
// word. The longest pattern that a heading holds says what it is.
struct HeadingWords {
    CsvWord word;
    std::string_view patterns;
};
constexpr HeadingWords kHeadings[] = {
    {CsvWord::BookingDate,
     "booking date|booked| posted| posting date| post date|date posted|completed date|"
     "completion date|buchungstag|buchungsdatum|buchung |date comptab|date de comptab|"
     "fecha contable|fecha de contab|data contabil|data lancamento|data do lancamento|"
     "data registrazione|boekingsdatum|boekdatum|bokforingsda|bokfort|bokforingsdato|bogfor|"
     "bogforingsdato|bokforda|bokfordato|kirjauspaiva|kirjaus|datum zauctovani|zauctov|"
     "data ksiegowania|konyveles|kande kuupaev|accounting date|process date|settled date"},
    {CsvWord::Date,
     " date | datum | date| data | fecha | dato | pvm | paiva | kuupaev | datum|日付|年月日| "
     "datetime |"
     " dat |paivamaara|datums"},
    {CsvWord::TransactionDate,
     "transaction date|trans date|trans date|tran date|started date|date of transaction|"
     "umsatzdatum|transaktionsdatum|transaktionsda|kaufdatum|belegdatum|date de transaction|"
     "date operation|date d operation|date de l operation|fecha operacion|fecha de operacion|"
     "fecha transaccion|data operazione|data transacao|data da transacao|data mov|"
     "transactiedatum|datum transactie|transaksjonsdato|transaktionsdato|kopdatum|inkopsdatum|"
     "maksupaiva|datum provedeni|datum transakce|datum operace|data operacji|data transakcji|"
     "tranzakcio datuma|tranzakcio idopontja|取引日|利用日|ご利用日|effective date|purchase date"},
    {CsvWord::ValueDate,
     "value date|valuedate|valuta|wertstellung|wert |date de valeur|date valeur|fecha valor|"
     "data valor|data valuta|data do balancete|rentedatum|valutadatum|valutadag|valutadato|"
     "rentedato|arvopaiva|datum valuty|data waluty|erteknap|vaartuspaev|起算日"},
    {CsvWord::Payee,
     " payee| name | name|merchant|beneficiary|beneficiaire|beneficiario|counterparty|"
     "counter party|payer|auftraggeber|empfanger|zahlungsempfanger|zahlungspflichtiger|"
     "begunstigter|zahlungsbeteiligter|name zahlungsbeteiligter|tiers|destinataire|emetteur|"
     "ordenante|destinatario|remitente|favorecido|estabelecimento|controparte|ordinante|"
     "tegenpartij|naam|begunstigde|mottagare|mottaker|modtager|avsender|afsender|"
     "saaja|maksaja|saaja maksaja|nimi|makse saaja|nazev protiuctu|nazev protistrany|"
     "protistrana|prijemce|platce|kontrahent|odbiorca|nadawca|nazwa|nadawca odbiorca|"
     "partner neve|partner nev|kedvezmenyezett|相手先|取引先|利用店名|ご利用店名|vendor|"
     "to from|paid to|comercio|commercant|esercente"},
    {CsvWord::Description,
     "description|descriptions|narrative|details of transaction|transaction details|particulars|"
     "verwendungszweck|umsatztext|beschreibung|libelle|designation|concepto|"
     "descripcion|descricao|historico|descrizione|causale|omschrijving|beskrivelse|tekst|"
     "beskrivning|selitys|selgitus|popis|polozka|opis|opis operacji|tytul|leiras|摘要|内容|"
     "お取引内容|取引内容|transaction |text |merchant description"},
    {CsvWord::Memo,
     " memo | memo| note | notes |message|details |comment|reason|verwendungszweck vwz| vwz |"
     "vwz|zweck|notiz|bemerkung|commentaire|communication|remarque|motif|observacion|"
     "observaciones|observacoes|notas|nota |mededeling|mededelingen|opmerking|meddelande|"
     "melding|besked|notering|viesti|zprava pro prijemce|zprava|poznamka|komunikat|szczegoly|"
     "kozlemeny|reszletek|megjegyzes|メモ|備考|informazioni|note aggiuntive|additional information|"
     "remittance|purpose|original description|extended details|labels"},
    {CsvWord::Type,
     " type | type|transaction type|transaktionstyp|transaktionsart|umsatzart|buchungsart|"
     "type d operation|type de transaction|nature|buchungstext|vorgang|tipo | tipo|tipo "
     "de|mutatiesoort|soort|"
     "typ transakce|typ operace|typ pohybu|typ transakcji|rodzaj|tipusa|tapahtuma|"
     "tapahtumalaji|transaktionstype|transaksjonstype|typ |種別|取引種類|product|produit"},
    {CsvWord::Amount,
     " amount|amount | sum | value |betrag|umsatz|montant|importe|import |monto|cantidad|valor|"
     "valor |importo|bedrag|belopp|belob|belop|maara|summa|castka|objem|kwota|osszeg|osszege|金額|"
     "取引金額|amt "},
    {CsvWord::NetAmount,
     " net | net amount|amount net|billing amount|billed amount|account amount|"
     "amount in account currency|settlement amount|netto|net total|montant net|importe neto|valor "
     "liquido|"
     "importo netto|netto bedrag|nettobetrag"},
    {CsvWord::GrossAmount,
     " gross |gross amount|brutto|bruttobetrag|montant brut|importe bruto|"
     "valor bruto|importo lordo|bruto"},
    {CsvWord::ForeignAmount,
     "original amount|amount original|foreign amount|amount foreign|foreign currency amount|"
     "amount in foreign|local amount|transaction currency amount|originalbetrag|fremdwahrung|"
     "betrag fremdwahrung|montant devise|montant en devise|montant d origine|importe original|"
     "importe divisa|valor original|valor em moeda|importo originale|importo in divisa|"
     "oorspronkelijk bedrag|originalbelopp|utlandskt belopp|puvodni castka|kwota oryginalna|"
     "castka v mene|kwota w walucie|exchange rate|wechselkurs|taux|kurs|instructed amount"},
    {CsvWord::Fee,
     " fee | fees |commission|gebuhr|frais|comision|comissao|commissione|kosten|avgift|gebyr|"
     "poplatek|prowizja|palkkio|手数料"},
    {CsvWord::Debit,
     " debit | debits |debit amount|amount debit|paid out|money out|withdrawal|withdrawals|"
     "spent|outflow| out |lastschrift|belastung|soll|ausgang|ausgabe|ausgaben|debit montant|"
     "depense|depenses|sortie|cargo|cargos|debe|debito|gastos|saida|saidas|addebito|addebiti|"
     "uscite|uscita|dare|af |uttag|utgift|ut av konto|ut fra konto|ut |debet|haevet|vydaje|"
     "vydaj|odchozi|obciazenia|obciazenie|wyplata|terheles|出金|出金金額|お支払金額|お引出し|支払|"
     "引出"},
    {CsvWord::Credit,
     " credit | credits |credit amount|amount credit|paid in|money in|deposit|deposits|received|"
     "inflow| in |gutschrift|haben|eingang|einnahme|einnahmen|credit montant|recette|recettes|"
     "entree|abono|abonos|haber|credito|ingresos|entrada|entradas|accredito|accrediti|"
     "entrate|entrata|avere|bij |insattning|inskudd|inn pa konto|inn |kredit|indsat|prijmy|"
     "prijem|prichozi|uznania|uznanie|wplata|jovairas|入金|入金金額|お預り金額|お預入れ|預入|"
     "お預け入れ"},
    {CsvWord::Sign,
     "debit credit|credit debit|credit debet|debit or credit|dr cr|cr dr|d c |c d |d k |"
     "soll haben|sollhaben|haben soll|debet kredit|deebet kreedit|debe haber|cargo abono|"
     "debito credito|dare avere|af bij|bij af|sens|signo|segno|sinal|direction|tegn |"
     "kennzeichen|s h |strana uctu|obciazenie uznanie|kiadas|bevetel kiadas|入出金区分|"
     "credit debit indicator|debit credit indicator|transaction direction"},
    {CsvWord::Balance,
     "balance|running balance|running bal|saldo|kontostand|solde|saldo na|zustatek|egyenleg|残高|"
     "差引残高|running total|jaak|saldo disponible|saldo contabile|balance after|saldo po"},
    {CsvWord::Currency,
     "currency| ccy |wahrung|devise|monnaie|monn |moneda|divisa|moeda|valuta code|munt|"
     "valutakod|mena|waluta|devizanem|devizaneme|通貨|valuutta|valuuta|muntsoort|curr "},
    {CsvWord::Category,
     "category|kategorie|categorie|categoria|kategori|kategoria|luokka|カテゴリ|分類|jars"},
    {CsvWord::Check,
     " check | check|check number|check no|cheque|schecknummer|scheck|n de cheque|"
     "numero de cheque|numero cheque|assegno|numero assegno|小切手"},
    {CsvWord::Id,
     "transaction id|trans id|transactionid|transaction number|transaction no|n de transaction|"
     "transaktionsnummer|transaktions id|unique id|fitid| id |numero de transaction|"
     "id transaccion|id transacao|id transazione|transactie id|transaktions nr|id transakce|"
     "numer transakcji|id operace|id pohybu|arkistointitunnus|tranzakcio azonosito|archival id|"
     "archive id|volgnr"},
    {CsvWord::MaybeId,
     "transfer reference|reference number|ref no| ref |bank reference|transaction reference|"
     "referencni cislo transakce|megbizas azonosito"},
    {CsvWord::Reference,
     "reference|referenz|referencia|referencja|referenz|kundenreferenz|mandatsreferenz|"
     "viite|maksajan viite|viitenumber|variabilni symbol|konstantni symbol|"
     "specificky symbol|numero documento|numero do documento|n documento|"
     "document number|dokumendi number|kenmerk|kid |ocr |照会番号|番号|auth code|invoice"},
    {CsvWord::OwnAccount,
     " account |account name|account number|account no|client account|kliendi konto|"
     "kontonummer| konto |auftragskonto|iban auftragskonto|eigenes konto|compte |"
     "numero de compte| cuenta |numero de cuenta|conta |numero da conta| conto |"
     "numero conto|rekening|rekeningnummer|eigen rekening|kontonavn|kontonamn|tilinumero|"
     "cislo uctu| ucet |szamla neve|szamlaszam|rachunek|numer rachunku|口座|口座番号|source "
     "account"},
    {CsvWord::OtherAccount,
     " iban|iban |counter account|counterparty account|counterparty iban|beneficiary account|"
     "payee account|kontonummer iban|gegenkonto|konto gegen|compte beneficiaire|"
     "tegenrekening|motkonto|saajan tilinumero|cislo protiuctu|protiucet|bankovni spojeni|"
     "partner szamlaszama|rachunek kontrahenta|saaja konto|bic|swift|blz|bankleitzahl|"
     "kod banky|kod banku|bank code|sort code|account payee|account id"},
    {CsvWord::Status, " status | state | status|zustand|statut|estado|stato|stav |tila |storno"},
    {CsvWord::Other,
     "reference platby|duvod|kuitti|row type|rida tup|dependencia|location|city|country|address|"
     "card member|card number|card "
     "no|kartennummer|kortinnumero|kartyaszam|tags|mandat|glaubiger|creditor id|time "
     "|uhrzeit|heure|hora |card holder|branch|mcc"},
};

constexpr std::string_view kOut =
    "|d|dr|db|debit|debits|debet|deebet|s|soll|lastschrift|belastung|out|outflow|outgoing|"
    "withdrawal|"
    "paid out|af|debito|cargo|debe|dare|ut|uttag|uit|vydaj|odchozi|obciazenie|kiadas|terheles|"
    "sortie|saida|uscita|addebito|出金|";
constexpr std::string_view kIn =
    "|c|cr|k|credit|credits|kredit|kreedit|h|haben|gutschrift|in|inflow|incoming|deposit|paid "
    "in|bij|"
    "credito|abono|haber|avere|insattning|inn|prijem|prichozi|uznanie|bevetel|jovairas|"
    "entree|entrada|entrata|accredito|入金|";

constexpr std::string_view kPending =
    "|pending|pending transaction|not booked|unbooked|processing|in progress|authorization|"
    "authorisation|authorized|uncleared|vorgemerkt|vormerkung|ausstehend|umsatz vorgemerkt|"
    "en attente|en cours|a venir|pendiente|en proceso|pendente|em processamento|in sospeso|"
    "in attesa|non contabilizzato|in behandeling|gereserveerd|reservering|afventer|reserveret|"
    "reservert|reserverat|vantande|preliminar|odottaa|varaus|cekajici|nezauctovano|oczekujace|"
    "oczekujaca|w toku|blokada|fuggoben|未確定|未決済|";
constexpr std::string_view kVoid =
    "|declined|failed|rejected|reverted|reversed|cancelled|canceled|voided|expired|denied|refused|"
    "abgelehnt|storniert|fehlgeschlagen|refuse|annule|rechazado|rechazada|cancelado|cancelada|"
    "recusado|rifiutato|annullato|geweigerd|geannuleerd|afvist|avvist|nekad|zamitnuto|odrzucona|";
constexpr std::string_view kBalances =
    "|balance|opening balance|closing balance|beginning balance|ending balance|starting balance|"
    "start balance|end balance|previous balance|new balance|current balance|available balance|"
    "ledger balance|balance brought forward|balance carried forward|balance forward|"
    "brought forward|carried forward|statement balance|total|totals|grand total|sub total|"
    "subtotal|sum|turnover|turnovers|total debits|total credits|total debit|total credit|"
    "total withdrawals|total deposits|total payments|total amount|"
    "saldo|anfangssaldo|endsaldo|alter saldo|neuer saldo|alter kontostand|neuer kontostand|"
    "kontostand|kontosaldo|saldovortrag|startsaldo|schlusssaldo|eroffnungssaldo|summe|gesamt|"
    "gesamtsumme|umsatze|umsatz|summe soll|summe haben|kontostand am|saldo am|saldo per|"
    "solde|solde initial|solde final|solde precedent|ancien solde|nouveau solde|solde anterieur|"
    "solde au|totaux|total des operations|total des mouvements|"
    "saldo anterior|saldo inicial|saldo final|saldo atual|saldo actual|saldo do dia|saldo dia|"
    "saldo previo|saldo disponible|saldo disponivel|saldo en cuenta|suma|totales|totais|"
    "saldo iniziale|saldo finale|saldo contabile|saldo precedente|saldo attuale|totale|"
    "beginsaldo|eindsaldo|oud saldo|nieuw saldo|totaal|"
    "ingaende saldo|utgaende saldo|primosaldo|ultimosaldo|inngaende saldo|saldo primo|"
    "saldo ultimo|omsetning|alkusaldo|loppusaldo|yhteensa|algsaldo|loppsaldo|kaive|"
    "pocatecni zustatek|konecny zustatek|pocatecni stav|konecny stav|zustatek|obrat|obraty|celkem|"
    "saldo poczatkowe|saldo koncowe|obroty|razem|nyito egyenleg|zaro egyenleg|egyenleg|osszesen|"
    "繰越|前月繰越|残高|合計|";

// The entries of a list between "|".
class CWordSet {
public:
    explicit CWordSet(std::string_view list) {
        for (size_t at = 1; at < list.size();) {
            const size_t end = list.find('|', at);
            m_words.insert(list.substr(at, end - at));
            at = end + 1;
        }
    }
    bool Has(const std::string& words) const { return m_words.contains(words); }

private:
    std::unordered_set<std::string_view> m_words;
};

size_t LongestPatternIn(std::string_view patterns, std::string_view words) {
    size_t longest = 0;
    for (size_t at = 0; at <= patterns.size();) {
        const size_t end = std::min(patterns.find('|', at), patterns.size());
        const std::string_view pattern = patterns.substr(at, end - at);
        if (pattern.size() > longest && Contains(words, pattern)) longest = pattern.size();
        at = end + 1;
    }
    return longest;
}

void AppendAscii(std::string& plain, char c) {
    if (IsLetter(c)) {
        plain += LowerAscii(c);
    } else if (!plain.empty() && plain.back() != ' ') {
        plain += ' ';
    }
}

void AppendPlain(std::string& plain, std::string_view character, char32_t code) {
    constexpr char32_t kFirstIdeograph = 0x3005;
    constexpr char32_t kLastIdeograph = 0x9FFF;
    if (code >= kFirstIdeograph && code <= kLastIdeograph) {
        plain += character;
        return;
    }
    const std::string letter = PlainLetters(character);
    const bool isLetter = letter.size() == 1 && letter[0] != '?';
    if (isLetter) {
        plain += letter;
    } else if (!plain.empty() && plain.back() != ' ') {
        plain += ' ';
    }
}

// "Total EUR" is a total, and "Opening balance as of 1 May" an opening balance.
std::string WithoutTail(std::string words) {
    constexpr std::string_view kSmall =
        "|as|of|on|at|from|to|for|the|per|am|vom|zum|den|bis|au|du|le|a|al|del|el|em|de|di|op|van|"
        "na|ke|dne|z|dnia|dzien|den|pr|";
    for (;;) {
        const size_t last = words.rfind(' ');
        if (last == std::string::npos) return words;
        const std::string word = words.substr(last + 1);
        const bool isSmall =
            Contains(kSmall, "|" + word + "|") || IsCurrencyCode(word) || MonthFromName(word) != 0;
        if (!isSmall) return words;
        words.resize(last);
    }
}

}  // namespace

std::string PlainWords(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (static_cast<unsigned char>(c) < 0x80) {
            AppendAscii(plain, c);
            ++at;
            continue;
        }
        const size_t start = at;
        const char32_t code = DecodeUtf8(text, at);
        AppendPlain(plain, text.substr(start, at - start), code);
    }
    while (!plain.empty() && plain.back() == ' ') plain.pop_back();
    return plain;
}

CsvWord WordOfHeading(std::string_view heading) {
    constexpr size_t kLongest = 120;  // bytes; what is longer is a sentence
    if (heading.empty() || heading.size() > kLongest) return CsvWord::None;
    const std::string words = " " + PlainWords(heading) + " ";
    CsvWord found = CsvWord::None;
    size_t longest = 0;
    for (const HeadingWords& row : kHeadings) {
        const size_t length = LongestPatternIn(row.patterns, words);
        if (length <= longest) continue;
        longest = length;
        found = row.word;
    }
    return found;
}

CsvSide SideOfWord(std::string_view cell) {
    if (cell == "-") return CsvSide::Out;
    if (cell == "+") return CsvSide::In;
    constexpr size_t kLongest = 24;
    if (cell.empty() || cell.size() > kLongest) return CsvSide::None;
    const std::string words = PlainWords(cell);
    static const CWordSet out(kOut);
    static const CWordSet in(kIn);
    if (out.Has(words)) return CsvSide::Out;
    return in.Has(words) ? CsvSide::In : CsvSide::None;
}

bool SaysPending(std::string_view cell) {
    constexpr size_t kLongest = 40;
    if (cell.empty()) return false;
    static const CWordSet pending(kPending);
    // "Pending - Shop"
    const size_t mark = cell.find_first_of(":-(");
    if (mark != std::string_view::npos && mark > 0 && mark < kLongest) {
        return pending.Has(PlainWords(cell.substr(0, mark)));
    }
    return cell.size() <= kLongest && pending.Has(PlainWords(cell));
}

bool SaysVoid(std::string_view cell) {
    constexpr size_t kLongest = 24;
    static const CWordSet words(kVoid);
    return !cell.empty() && cell.size() <= kLongest && words.Has(PlainWords(cell));
}

bool SaysBalance(std::string_view cell) {
    constexpr size_t kLongest = 48;
    if (cell.empty() || cell.size() > kLongest) return false;
    static const CWordSet balances(kBalances);
    return balances.Has(WithoutTail(PlainWords(cell)));
}

bool SaysPaymentOrCredit(std::string_view text) {
    constexpr std::string_view kWords[] = {
        " payment ",       " payments ", " credit ",     " refund ",      " thank you ",
        " autopay ",       " zahlung ",  " gutschrift ", " erstattung ",  " paiement ",
        " remboursement ", " pago ",     " abono ",      " pagamento ",   " estorno ",
        " rimborso ",      " betaling ", " betalning ",  " inbetalning ", " innbetaling ",
        " indbetaling ",   " platba ",   " splata ",     " maksu "};
    const std::string words = " " + PlainWords(text) + " ";
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&words](std::string_view word) { return Contains(words, word); });
}

}  // namespace quillon
