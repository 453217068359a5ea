#pragma once

// Sections and keys of the settings file.

namespace quillon::settings {

inline constexpr char kCheckPrint[] = "CheckPrint";
inline constexpr char kDateText[] = "DateText";      // "height,x,y" of the font and place
inline constexpr char kPayeeText[] = "PayeeText";    // the same
inline constexpr char kAmountText[] = "AmountText";  // the same
inline constexpr char kWrittenAmountText[] = "WrittenAmountText";  // the same
inline constexpr char kMemoText[] = "MemoText";                    // the same
inline constexpr char kCheckWidth[] = "CheckWidth";                // inches

// Rectangles under the name of the dialog, and what it last worked with.
inline constexpr char kLastPosition[] = "LastPosition";
inline constexpr char kMainFrame[] = "MainFrame";
inline constexpr char kLastFindText[] = "LastFindText";
inline constexpr char kLastShowContainingText[] = "LastShowContainingText";
inline constexpr char kLastTransferFundsCategory[] = "LastTransferFundsCategory";

// Width lists under the name of the list view.
inline constexpr char kColumnWidths[] = "ColumnWidths";

inline constexpr char kLastSelection[] = "LastSelection";
inline constexpr char kLastIndividualReturnAccount[] = "LastIndividualReturnAccount";
inline constexpr char kLastIndividualBalanceAccount[] = "LastIndividualBalanceAccount";
inline constexpr char kLastSelectedReturnAccount[] = "LastSelectedReturnAccount";    // + number
inline constexpr char kLastSelectedBalanceAccount[] = "LastSelectedBalanceAccount";  // + number
inline constexpr char kLastSelectedStockQuoteService[] = "LastSelectedStockQuoteService";

inline constexpr char kFileFolder[] = "FileFolder";
inline constexpr char kDatabasePath[] = "DatabasePath";
inline constexpr char kDatabaseBackupPath[] = "DatabaseBackupPath";
inline constexpr char kDatabaseRestorePath[] = "DatabaseRestorePath";
inline constexpr char kDatabaseRestoreSourceFilePath[] = "DatabaseRestoreSourceFilePath";
// Backups that were proved, under their places in the order in which they were made.
inline constexpr char kProvedBackups[] = "ProvedBackups";
inline constexpr char kImportFilePath[] = "ImportFilePath";  // + import kind

// How a bank's files in columns are read, under the names of their columns and the rest.
inline constexpr char kCsvProfile[] = "CsvProfile";  // + name, a section
inline constexpr char kCsvHeading[] = "Heading";     // words, with "|" between columns
inline constexpr char kCsvMap[] = "Map";             // "date=1,payee=3,amount=7"
inline constexpr char kCsvDelimiter[] = "Delimiter";
inline constexpr char kCsvSkip[] = "Skip";            // lines
inline constexpr char kCsvDateOrder[] = "DateOrder";  // "mdy", "dmy", "ymd"
inline constexpr char kCsvDecimal[] = "Decimal";      // "point", "comma"
inline constexpr char kCsvInvert[] = "Invert";        // 0 or 1
inline constexpr char kCsvCharset[] = "Charset";

// What replaces the program's own knowledge of a stock quote service.
inline constexpr char kStockQuoteService[] = "StockQuoteService";  // + number, a section
inline constexpr char kHost[] = "Host";
inline constexpr char kPort[] = "Port";
inline constexpr char kPathPrefix[] = "PathPrefix";
inline constexpr char kExchangeSeparator[] = "ExchangeSeparator";
inline constexpr char kPathSuffix[] = "PathSuffix";
inline constexpr char kBlockMarker[] = "BlockMarker";
inline constexpr char kPriceMarker[] = "PriceMarker";
inline constexpr char kSecondMarker[] = "SecondMarker";
inline constexpr char kNameMarker[] = "NameMarker";
inline constexpr char kNameEnd[] = "NameEnd";
inline constexpr char kNoMarker[] = "none";  // a value: the page has no such marker

inline constexpr char kStockQuotes[] = "StockQuotes";
inline constexpr char kCertificateFile[] = "CertificateFile";

inline constexpr char kBankReconciliation[] = "BankReconciliation";
inline constexpr char kLookBackDays[] = "LookBackDays";        // 0 to 90
inline constexpr char kMaxTransactions[] = "MaxTransactions";  // 0 to 60

// Date ranges under a key made by DateRangeKey.
inline constexpr char kDateRange[] = "DateRange";

}  // namespace quillon::settings
