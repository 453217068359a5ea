#include "settings/DefaultSettings.h"

namespace quillon {

// The blank after "CheckWidth=" belongs there.
std::string_view DefaultSettingsText() {
    return "[CheckPrint]\r\n"
           "DateText=10,2155,230\r\n"
           "PayeeText=10,690,530\r\n"
           "AmountText=10,2910,530\r\n"
           "WrittenAmountText=10,230,700\r\n"
           "MemoText=10,310,1180\r\n"
           "CheckWidth= 6.00\r\n"
           "[LastPosition]\r\n"
           "MainFrame=227,44,1427,879\r\n"
           "[ColumnWidths]\r\n"
           "SavingsAccount=57,72,322,285,234,89,90,120\r\n"
           "InvestmentAccount=57,76,307,315,165,100,154,95\r\n"
           "CreditAccount=90,111,244,228,295,92,83,126\r\n"
           "CheckingAccount=64,85,86,304,222,236,105,76,91\r\n"
           "MemorizedTransactions=107,314,300,174,374\r\n"
           "TransReportCheckingAccount=57,113,96,311,244,259,96,89,187\r\n"
           "TransReportSavingsAccount=57,87,86,478,146,139,222,237\r\n"
           "TransReportCreditAccount=57,93,336,292,320,95,145,97\r\n"
           "CategoryExpenseReport=57,352,132,190,538\r\n"
           "CategoryExpenseReportDrillDown=57,90,172,133,236,149,222,92\r\n"
           "CategoryManagement=1269\r\n"
           "RenamingRulesManagement=295,974\r\n"
           "PayeeExpenseReport=57,346,134,117,615\r\n"
           "PayeeExpenseReportDrillDown=57,72,119,91,150,108,337,100\r\n"
           "NetIncomeReport=57,221,129,108,754\r\n"
           "NetIncomeReportDrillDown=57,97,116,91,251,212,231,96\r\n"
           "AccountPayeeExpenseReport=57,323,132,123,634\r\n"
           "AccountPayeeExpenseDrillDown=57,72,140,91,194,168,113\r\n"
           "NetIncomeDetailReport=57,273,110,197,330,83,106,113\r\n";
}

}  // namespace quillon
