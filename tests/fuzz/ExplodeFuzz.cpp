// Compressed streams: our reader against a slow one written from docs/file-formats.md,
// and our writer against our reader. The first byte chooses how the rest is imploded.

#include <array>
#include <optional>

#include "Fuzz.h"
#include "storage/compression/Compression.h"

namespace quillon::fuzz {
namespace {

// Code lengths as the page lists them.
constexpr std::string_view kLengthLengths = "2333444555566677";
constexpr std::string_view kLiteralLengths =
    "BCCCCCCCC87CC7CCCCCCCCCCCCDCCCCC4A8CACA87789767876777787788CB79B"
    "C676657886B967667B66679899B8B9C8C566656665B756556A55558788ABBCCC"
    "DDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDDCCCCCCCCCCCCCCCC"
    "CCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCDCDDDCDDDCDDDDCDDDCCCDDDDDDDDDDD";
constexpr std::array<unsigned, 16> kBase = {3,  2,  4,  5,  6,  7,  8,   9,
                                            10, 12, 16, 24, 40, 72, 136, 264};
constexpr std::array<unsigned, 16> kExtra = {0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8};

std::string DistanceLengths() {
    return "2" + std::string(2, '4') + std::string(4, '5') + std::string(15, '6') +
           std::string(26, '7') + std::string(16, '8');
}

// One bit after the other; no tables.
class CSlowReader {
public:
    explicit CSlowReader(std::span<const uint8_t> in) : m_in(in) {}

    // What the stream holds; nothing when it is not sound or holds more than `most`.
    std::optional<Bytes> Run(size_t most) {
        if (m_in.size() < 2 || m_in[0] > 1 || m_in[1] < 4 || m_in[1] > 6) return std::nullopt;
        m_bit = 16;
        Bytes out;
        while (out.size() <= most && !m_ended) {
            if (Number(1) == 0) {
                const unsigned literal = m_in[0] == 1 ? Symbol(kLiterals) : Number(8);
                if (m_ended) break;
                out.push_back(static_cast<uint8_t>(literal));
                continue;
            }
            const unsigned symbol = Symbol(kLengths);
            if (m_ended) break;
            const unsigned length = kBase[symbol] + Number(kExtra[symbol]);
            if (m_ended) break;
            if (length == 519) return out;
            const unsigned low = length == 2 ? 2 : m_in[1];
            const unsigned high = Symbol(kDistances);
            if (m_ended) break;
            const size_t distance = (size_t{high} << low) + Number(low) + 1;
            if (m_ended || distance > out.size()) break;
            for (unsigned i = 0; i < length; ++i) out.push_back(out[out.size() - distance]);
        }
        return std::nullopt;
    }

private:
    // (length, code read first bit first) to symbol.
    using Codes = std::map<std::pair<unsigned, unsigned>, unsigned>;

    static Codes CodesOf(std::string_view lengths) {
        Codes codes;
        unsigned next = 0;
        for (unsigned length = 1; length <= 13; ++length) {
            next <<= 1;
            for (unsigned symbol = 0; symbol < lengths.size(); ++symbol) {
                const char digit = lengths[symbol];
                const auto own =
                    static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'A' + 10);
                if (own != length) continue;
                codes[{length, ~next & ((1U << length) - 1)}] = symbol;
                ++next;
            }
        }
        return codes;
    }

    unsigned Number(unsigned bits) {
        unsigned number = 0;
        for (unsigned i = 0; i < bits; ++i) {
            if (m_bit >= 8 * m_in.size()) {
                m_ended = true;
                return 0;
            }
            number |= (m_in[m_bit / 8] >> (m_bit % 8) & 1U) << i;
            ++m_bit;
        }
        return number;
    }
    unsigned Symbol(const Codes& codes) {
        unsigned code = 0;
        for (unsigned length = 1; length <= 13; ++length) {
            code = code << 1 | Number(1);
            if (m_ended) return 0;
            const auto found = codes.find({length, code});
            if (found != codes.end()) return found->second;
        }
        FUZZ_CHECK(false, "every bit pattern is a code");
    }

    inline static const Codes kLengths = CodesOf(kLengthLengths);
    inline static const Codes kLiterals = CodesOf(kLiteralLengths);
    inline static const Codes kDistances = CodesOf(DistanceLengths());
    std::span<const uint8_t> m_in;
    size_t m_bit = 0;
    bool m_ended = false;
};

void CheckReading(std::span<const uint8_t> stream) {
    constexpr size_t kMost = size_t{1} << 22;
    const std::optional<Bytes> expected = CSlowReader(stream).Run(kMost);
    Bytes out;
    const size_t size = expected ? expected->size() : 0;
    FUZZ_CHECK(Explode(stream, size, out) == expected.has_value(), "both readers take it or not");
    if (expected) FUZZ_CHECK(out == *expected, "both readers read the same");
    for (const size_t wrong : {size + 1, size - 1, size_t{100}, size_t{1} << 40}) {
        if (wrong == size) continue;
        out.assign(3, 1);
        FUZZ_CHECK(!Explode(stream, wrong, out), "no other size will do");
        FUZZ_CHECK(out.empty(), "a failed reading leaves nothing");
    }
}

void CheckWriting(std::span<const uint8_t> plain, uint8_t choice) {
    const ImplodeOptions options{(choice & 1) != 0, 4 + (choice >> 1) % 3};
    const size_t room = choice & 0x80 ? plain.size() : 2 * plain.size() + 100;
    Bytes packed;
    const bool fits = Implode(plain, packed, room, options);
    FUZZ_CHECK(fits || packed.empty(), "what does not shrink leaves nothing");
    if (!fits) {
        FUZZ_CHECK(plain.empty() || room == plain.size(), "any text can be imploded");
        return;
    }
    FUZZ_CHECK(packed.size() < room, "the result fits");
    Bytes back;
    FUZZ_CHECK(Explode(packed, plain.size(), back), "what was imploded explodes");
    FUZZ_CHECK(back == CopyOf(plain), "it comes back as it was");
    const std::optional<Bytes> slow = CSlowReader(packed).Run(plain.size());
    FUZZ_CHECK(slow && *slow == back, "the stream follows the format");
}

void Check(CInput input) {
    const uint8_t choice = input.Byte();
    const auto bytes = input.Rest();
    CheckReading(bytes);
    CheckWriting(bytes, choice);
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
