#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "storage/compression/Compression.h"
#include "storage/compression/ImplodeFormat.h"

namespace quillon {
namespace {

using namespace implode;

// Flag, code and extra bits of every match length, ready to be written.
constexpr auto MakeLengthTokens() {
    std::array<PrefixCode, kEndLength + 1> tokens{};
    const auto codes = AssignCodes(kLengthCodeLengths);
    for (size_t symbol = 0; symbol < codes.size(); ++symbol) {
        const auto [base, extraBits] = kLengthSymbols[symbol];
        for (size_t extra = 0; extra < size_t{1} << extraBits; ++extra) {
            const size_t bits = extra << codes[symbol].length | codes[symbol].bits;
            tokens[base + extra] = {static_cast<uint16_t>(bits << 1 | 1U),
                                    static_cast<uint8_t>(1 + codes[symbol].length + extraBits)};
        }
    }
    return tokens;
}

// Flag and code of every literal.
constexpr auto MakeLiteralTokens(bool ascii) {
    std::array<PrefixCode, 256> tokens = AssignCodes(kLiteralCodeLengths);
    for (size_t byte = 0; byte < tokens.size(); ++byte) {
        if (!ascii) tokens[byte] = {static_cast<uint16_t>(byte), 8};
        tokens[byte].bits = static_cast<uint16_t>(tokens[byte].bits << 1);
        ++tokens[byte].length;
    }
    return tokens;
}

constexpr auto kLengthTokens = MakeLengthTokens();
constexpr auto kDistanceCodes = AssignCodes(kDistanceCodeLengths);
constexpr auto kBinaryTokens = MakeLiteralTokens(false);
constexpr auto kAsciiTokens = MakeLiteralTokens(true);

// What a literal costs when matches are weighed against literals. The binary figure
// is exact; the other is what letters and digits come to.
constexpr int kBinaryLiteralCost = 9;
constexpr int kAsciiLiteralCost = 7;

// Search effort. A bucket of the hash table is followed this far, or an eighth as far
// when a good match is in hand already; a match of kNiceLength is taken as it is.
// Together with kMaxMatch these bound the work per byte, whatever the input.
constexpr unsigned kMaxDepth = 128;
constexpr unsigned kMaxDepthWhenGood = kMaxDepth / 8;
constexpr size_t kGoodLength = 16;
constexpr size_t kNiceLength = 192;

// How many more bits a match must save for an earlier one to wait for it: what the
// byte in between is worth to the earlier one, most of a literal. Measured on memos,
// prose and programs.
constexpr int kWaitingCost = 6;

struct Match {
    size_t length = 0;  // 0: none
    size_t distance = 0;
    int gain = 0;  // bits saved over writing literals; positive when there is a match
};

// Bytes that agree, at most `limit`.
size_t CommonLength(const uint8_t* a, const uint8_t* b, size_t limit) {
    size_t length = 0;
    for (; length + 8 <= limit; length += 8) {
        const uint64_t difference = LoadWord(a + length) ^ LoadWord(b + length);
        if (difference != 0) return length + static_cast<size_t>(std::countr_zero(difference)) / 8;
    }
    while (length < limit && a[length] == b[length]) ++length;
    return length;
}

// Finds earlier copies of what comes next within the dictionary.
//
// Positions are kept modulo 65,536, sixteen times the largest dictionary: a distance
// computed from one is right or belongs to an entry long out of reach. A wrong one
// (an unused entry counts as position 0) does no harm, since every candidate is
// checked against the dictionary, the start of the input and the bytes themselves.
class CMatchFinder {
public:
    CMatchFinder(std::span<const uint8_t> in, unsigned dictionaryBits, int literalCost)
        : m_in(in),
          m_dictionaryBits(dictionaryBits),
          m_literalCost(literalCost),
          m_hashBits(std::clamp(static_cast<unsigned>(std::bit_width(in.size())), 6U, kHashBits)) {
        // Most inputs are short texts: clear only what this one uses.
        std::fill_n(m_heads.begin(), size_t{1} << m_hashBits, uint16_t{0});
        std::fill_n(m_pairHeads.begin(), size_t{1} << m_hashBits, uint16_t{0});
        std::fill_n(m_older.begin(), std::min(in.size(), m_older.size()), uint16_t{0});
    }

    // The match at `position` that saves most. Every earlier position must have been
    // inserted, and neither this nor a later one.
    Match Find(size_t position, unsigned depth) const {
        const size_t limit = std::min(m_in.size() - position, kMaxMatch);
        if (limit < kMinMatch) return {};
        Match best = FindPair(position);
        if (limit < 3) return best;

        const uint8_t* here = m_in.data() + position;
        const size_t reach = std::min(position, size_t{64} << m_dictionaryBits);
        uint16_t candidate = m_heads[HashOfThree(here)];
        size_t previousDistance = 0;
        size_t longest = kMinMatch;
        for (; depth > 0; --depth) {
            const size_t distance = DistanceTo(candidate, position);
            if (distance <= previousDistance || distance > reach) break;
            const uint8_t* there = here - distance;
            // A longer match has these two in common; most candidates do not.
            if (std::memcmp(there + longest - 1, here + longest - 1, 2) == 0) {
                const size_t length = CommonLength(here, there, limit);
                if (length > longest) {
                    longest = length;
                    Keep(best, length, distance);
                    if (length == limit || length >= kNiceLength) break;
                }
            }
            previousDistance = distance;
            candidate = m_older[(position - distance) % m_older.size()];
        }
        return best;
    }

    // Makes `position` known to later searches.
    void Insert(size_t position) {
        const size_t left = m_in.size() - position;
        if (left < 3) return;
        const uint8_t* here = m_in.data() + position;
        const auto stored = static_cast<uint16_t>(position);
        m_pairHeads[HashOfTwo(here)] = stored;
        uint16_t& head = m_heads[HashOfThree(here)];
        m_older[position % m_older.size()] = head;
        head = stored;
    }

private:
    static constexpr unsigned kHashBits = 13;

    static size_t DistanceTo(uint16_t candidate, size_t position) {
        return static_cast<uint16_t>(position - candidate);
    }
    size_t Hash(uint32_t value) const { return value * 0x9E3779B1U >> (32 - m_hashBits); }
    size_t HashOfTwo(const uint8_t* bytes) const {
        return Hash(uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8);
    }
    size_t HashOfThree(const uint8_t* bytes) const {
        return Hash(uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16);
    }

    // The latest copy of the next two bytes, near enough for a match of two.
    Match FindPair(size_t position) const {
        Match match;
        const uint8_t* here = m_in.data() + position;
        const size_t distance = DistanceTo(m_pairHeads[HashOfTwo(here)], position);
        const size_t reach = std::min(position, kDistanceSymbols << kShortMatchDistanceBits);
        if (distance != 0 && distance <= reach && std::memcmp(here, here - distance, 2) == 0) {
            Keep(match, kMinMatch, distance);
        }
        return match;
    }

    void Keep(Match& best, size_t length, size_t distance) const {
        const unsigned low = length == kMinMatch ? kShortMatchDistanceBits : m_dictionaryBits;
        const int cost = kLengthTokens[length].length +
                         kDistanceCodes[(distance - 1) >> low].length + static_cast<int>(low);
        const int gain = m_literalCost * static_cast<int>(length) - cost;
        if (gain > best.gain) best = {length, distance, gain};
    }

    const std::span<const uint8_t> m_in;
    const unsigned m_dictionaryBits;
    const int m_literalCost;
    const unsigned m_hashBits;
    std::array<uint16_t, size_t{1} << kHashBits> m_heads;      // latest position, by three bytes
    std::array<uint16_t, size_t{1} << kHashBits> m_pairHeads;  // the same, by two bytes
    // By position modulo its size: the one before with the same hash.
    std::array<uint16_t, size_t{64} << kMaxDictionaryBits> m_older;
};

// Writes tokens into `out`, which it sizes for a stream of less than `maxOut` bytes.
class CTokenWriter {
public:
    CTokenWriter(std::vector<uint8_t>& out, size_t maxOut, const ImplodeOptions& options)
        : m_out(out),
          m_maxOut(maxOut),
          m_dictionaryBits(static_cast<unsigned>(options.dictionaryBits)),
          m_literals(options.asciiLiterals ? kAsciiTokens : kBinaryTokens) {
        m_out.resize(maxOut + kRoom);
        m_out[0] = options.asciiLiterals ? kAsciiLiterals : kBinaryLiterals;
        m_out[1] = static_cast<uint8_t>(m_dictionaryBits);
    }

    // True once the stream is too long; nothing may be put then.
    bool Full() const { return m_written >= m_maxOut; }

    void PutLiteral(uint8_t byte) { Put(m_literals[byte].bits, m_literals[byte].length); }

    void PutMatch(const Match& match) {
        const PrefixCode length = kLengthTokens[match.length];
        const unsigned low = match.length == kMinMatch ? kShortMatchDistanceBits : m_dictionaryBits;
        const auto distance = static_cast<uint32_t>(match.distance - 1);
        const PrefixCode code = kDistanceCodes[distance >> low];
        const uint32_t lowBits = distance & ((1U << low) - 1);
        Put((lowBits << code.length | code.bits) << length.length | length.bits,
            length.length + code.length + low);
    }

    // Ends the stream and cuts `out` to its size. False: not below `maxOut`.
    bool Finish() {
        if (Full()) return false;
        Put(kLengthTokens[kEndLength].bits, kLengthTokens[kEndLength].length);
        StoreWord();
        m_written += (m_count + 7) / 8;
        if (Full()) return false;
        m_out.resize(m_written);
        return true;
    }

private:
    static constexpr size_t kRoom = 8;  // what may be stored past the last test of Full()

    // At most 30 bits, so that they fit on top of the up to 31 that wait.
    void Put(uint32_t bits, unsigned count) {
        m_bits |= uint64_t{bits} << m_count;
        m_count += count;
        if (m_count < 32) return;
        StoreWord();
        m_written += 4;
        m_bits >>= 32;
        m_count -= 32;
    }

    void StoreWord() {
        uint8_t* to = m_out.data() + m_written;
        for (unsigned i = 0; i < 4; ++i) to[i] = static_cast<uint8_t>(m_bits >> (8 * i));
    }

    std::vector<uint8_t>& m_out;
    const size_t m_maxOut;
    const unsigned m_dictionaryBits;
    const std::array<PrefixCode, 256>& m_literals;
    size_t m_written = kHeaderSize;  // whole bytes in m_out
    uint64_t m_bits = 0;             // waiting to be stored, first one lowest
    unsigned m_count = 0;            // how many wait, below 32 between calls
};

// Writes all of `in`. A match is put off by one byte, again and again, as long as the
// one that starts there saves clearly more.
bool ImplodeStream(std::span<const uint8_t> in, CMatchFinder& finder, CTokenWriter& writer) {
    size_t position = 0;
    while (position < in.size()) {
        if (writer.Full()) return false;
        Match match = finder.Find(position, kMaxDepth);
        finder.Insert(position);
        while (match.length != 0 && match.length < kNiceLength) {
            const unsigned depth = match.length < kGoodLength ? kMaxDepth : kMaxDepthWhenGood;
            const Match next = finder.Find(position + 1, depth);
            if (next.gain <= match.gain + kWaitingCost || writer.Full()) break;
            writer.PutLiteral(in[position++]);
            finder.Insert(position);
            match = next;
        }
        if (writer.Full()) return false;
        if (match.length == 0) {
            writer.PutLiteral(in[position++]);
            continue;
        }
        writer.PutMatch(match);
        const size_t end = position + match.length;
        while (++position < end) finder.Insert(position);
    }
    return writer.Finish();
}

}  // namespace

bool Implode(std::span<const uint8_t> in, std::vector<uint8_t>& out, size_t maxOut,
             const ImplodeOptions& options) noexcept {
    out.clear();
    if (in.empty() || options.dictionaryBits < static_cast<int>(kMinDictionaryBits) ||
        options.dictionaryBits > static_cast<int>(kMaxDictionaryBits)) {
        return false;
    }
    try {
        // No literal takes more than 14 bits, so no stream reaches twice its input.
        CTokenWriter writer(out, std::min(maxOut, 2 * in.size() + 16), options);
        CMatchFinder finder(in, static_cast<unsigned>(options.dictionaryBits),
                            options.asciiLiterals ? kAsciiLiteralCost : kBinaryLiteralCost);
        if (ImplodeStream(in, finder, writer)) return true;
    } catch (const std::bad_alloc&) {
    }
    out.clear();
    return false;
}

}  // namespace quillon
