// quote. Prices come from the network or from a saved page; no ledger is opened.

#include <array>
#include <charconv>

#include "cli/CommandContext.h"
#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "foundation/CalendarDate.h"
#include "foundation/platform/Clock.h"
#include "foundation/platform/Folders.h"
#include "quotes/StockQuoteGateway.h"
#include "settings/SettingsNames.h"
#include "wording/QuoteWords.h"

namespace quillon {

namespace {

struct QuoteOptions {
    std::string symbol;
    NumberOption service;
    bool fallThrough = false;
    TextOption page;
};

std::string ReadPage(CFileSystem& files, const std::string& path) {
    const size_t largest = HttpsLimits().body;
    const std::unique_ptr<CFile> file = files.Open(path, OpenMode::Read);
    const int64_t size = file ? file->Size() : -1;
    if (size < 0) {
        throw CFailure("The page " + Quoted(path) +
                       " cannot be read; check its path and permissions.");
    }
    if (size > static_cast<int64_t>(largest)) {
        throw CFailure("The page " + Quoted(path) + " is larger than " + std::to_string(largest) +
                       " bytes; save the quote page alone.");
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    const int64_t read = file->ReadAt(0, bytes);
    if (read < 0) throw CFailure("The page " + Quoted(path) + " cannot be read.");
    return std::string(bytes.begin(), bytes.begin() + read);
}

// All digits that the price has, at least two behind the point.
std::string PriceText(double price) {
    std::array<char, 512> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), price,
                                            std::chars_format::fixed);
    std::string text(buffer.data(), error == std::errc() ? end : buffer.data());
    const size_t point = text.find('.');
    if (point == std::string::npos) return text + ".00";
    if (text.size() - point < 3) text.append(3 - (text.size() - point), '0');
    return text;
}

void Show(CCommandContext& context, const CStockQuoteResult& result) {
    const std::string time = FormatIsoTime(result.time);
    if (context.WantsJson()) {
        context.Print({{"symbol", result.symbol},
                       {"price", result.price},
                       {"name", result.name},
                       {"service", result.service},
                       {"time", time}});
        return;
    }
    std::string line = Printable(result.symbol) + "  " + PriceText(result.price);
    if (!result.name.empty()) line += "  " + Printable(result.name);
    context.Say(line);
    const std::string& host = result.attempts.back().host;
    context.Say("From service " + std::to_string(result.service) +
                (host.empty() ? "" : " (" + host + ")") + ", " + time + ".");
}

CStockQuoteResult Ask(CCommandContext& context, const QuoteOptions& options) {
    HttpsOptions https;
    context.Settings().ReadString(settings::kStockQuotes, settings::kCertificateFile,
                                  https.certificateFile);
    const std::unique_ptr<CHttpsTransport> transport = PlatformHttpsTransport(https);
    CFileSystem& files = context.Host().files;
    CStockQuoteGateway gateway(
        *transport, context.Settings(),
        CStockSymbols({FolderOf(context.Settings().Path()), ExecutableFolder()}, files));
    const CStockQuote quote(options.symbol);
    const int service = options.service.Given() ? static_cast<int>(options.service.value)
                                                : gateway.SelectedService();
    if (options.page.Given()) {
        const std::string page = ReadPage(files, options.page.value);
        const int64_t saved = files.ModificationTime(options.page.value);
        return gateway.FromPage(quote, service, page, saved > 0 ? saved : NowFileTime());
    }
    return gateway.Request(quote, service,
                           options.fallThrough ? CStockQuoteGateway::OnFailure::NextService
                                               : CStockQuoteGateway::OnFailure::Stop);
}

void Quote(CCommandContext& context, const QuoteOptions& options) {
    const CStockQuoteResult result = Ask(context, options);
    if (!result.success) throw CFailure(QuoteMessage(result));
    Show(context, result);
}

}  // namespace

std::vector<Command> QuoteCommands() {
    return {{.path = "quote",
             .help = "The current price of a stock, from the web",
             .options = {{.name = "symbol", .help = "Its symbol, such as ACME", .required = true},
                         {.name = "--service",
                          .help = "0 search engine, 1 stock-analysis site, 2 market-news site "
                                  "(default: the settings' LastSelection "
                                  "LastSelectedStockQuoteService, else 0)",
                          .kind = OptionKind::SmallNumber,
                          .typeName = "N"},
                         {.name = "--fall-through",
                          .help = "Ask the other services when this one fails",
                          .kind = OptionKind::Flag},
                         {.name = "--page",
                          .help = "Take the values from a saved page of the service",
                          .typeName = "FILE",
                          .excludes = "--fall-through"}},
             .run = [](CCommandContext& context, const Arguments& given) {
                 Quote(context, {.symbol = given.Value("symbol"),
                                 .service = given.Number("--service"),
                                 .fallThrough = given.Flag("--fall-through"),
                                 .page = given.Text("--page")});
             }}};
}

}  // namespace quillon
