// The compressor of stored texts and backup chunks: the imploded data format of
// the PKWARE Data Compression Library, written and read by code of our own.
//
//   Sizes      Bytes.
//   Errors     false, with `out` left empty. Nothing here logs or prints. Without memory
//              Implode gives false, for the input can be kept as it is; Explode throws
//              std::bad_alloc.
//   Ownership  Input is borrowed for the call; `out` belongs to the caller and
//              must not share memory with the input.
//   Threads    No shared state: calls on different buffers may run in parallel.
//   Format     ImplodeFormat.h
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quillon {

// How a stream is written. The defaults are what the store writes; a reader has to
// take every combination, since a stream names its own in its first two bytes.
struct ImplodeOptions {
    bool asciiLiterals = false;  // literals as prefix codes tuned for English text
    int dictionaryBits = 6;      // 4, 5, 6: matches reach back 1,024, 2,048, 4,096 bytes
};

// Compresses `in` into `out`. True only when the stream came out shorter than
// `maxOut` bytes, so passing in.size() asks for a gain or nothing. False: empty
// input, unknown options, or no such gain.
// Time is linear in the input, whatever it holds.
[[nodiscard]] bool Implode(std::span<const uint8_t> in, std::vector<uint8_t>& out, size_t maxOut,
                           const ImplodeOptions& options = {}) noexcept;

// Expands the stream at the start of `in`; bytes after its end code are ignored, so
// a block padded by a cipher can be passed as it is. True only when the stream is
// sound and holds exactly `expectedSize` bytes. False: unknown header, a stream that
// stops before its end code, a match reaching in front of the output, or any other
// size. Memory follows what the stream really yields (at most a few times the input
// before the first byte is decoded), never `expectedSize` alone. Throws std::bad_alloc: a
// stream that there is no memory for is not a damaged one.
[[nodiscard]] bool Explode(std::span<const uint8_t> in, size_t expectedSize,
                           std::vector<uint8_t>& out);

}  // namespace quillon
