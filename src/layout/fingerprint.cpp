#include "layout/fingerprint.h"

#include <algorithm>
#include <array>
#include <cstdio>

#define XXH_INLINE_ALL  // the header is the whole library
#include <xxhash.h>

namespace {

constexpr std::string_view PREFIX = "xxh3:";
constexpr std::size_t NUM_DIGITS = 16;

// Hashes a bitstream from its beginning to its end, with ranges of its bits as 0. A copy in which
// they are 0 would take longer than the hash.
class MaskedHash {
 public:
  explicit MaskedHash(const Bitstream& stream) : bitstream(stream) { XXH3_64bits_reset(&state); }

  // Hides the bits [begin, end), at least eight, which come after those hidden before.
  void hide(std::uint64_t begin, std::uint64_t end) {
    addUpTo(begin / 8);
    kept &= ~(0xFFU >> begin % 8);
    addUpTo(begin / 8 + 1);
    addZeros(end / 8 - hashed);
    kept = 0xFFU >> end % 8;
  }

  std::uint64_t finish() {
    addUpTo(bitstream.getNumBytes());
    return XXH3_64bits_digest(&state);
  }

 private:
  // Adds all bytes before byte `end`.
  void addUpTo(std::uint64_t end) {
    if (hashed < end && kept != 0xFF) {
      const auto byte = static_cast<unsigned char>(bitstream.getByte(hashed++) & kept);
      XXH3_64bits_update(&state, &byte, 1);
      kept = 0xFF;
    }
    XXH3_64bits_update(&state, bitstream.getBytes() + hashed, end - hashed);
    hashed = end;
  }

  void addZeros(std::uint64_t count) {
    constexpr std::array<unsigned char, 4096> ZEROS{};
    for (hashed += count; count != 0; count -= std::min<std::uint64_t>(count, ZEROS.size())) {
      XXH3_64bits_update(&state, ZEROS.data(), std::min<std::uint64_t>(count, ZEROS.size()));
    }
  }

  const Bitstream& bitstream;
  XXH3_state_t state;
  std::uint64_t hashed = 0;  // bytes
  unsigned kept = 0xFF;      // bits of the next byte that count
};

}  // namespace

std::string fingerprintOf(const Bitstream& bitstream, std::span<const EbrCommand> walk) {
  MaskedHash hash(bitstream);
  for (const EbrCommand& command : walk) {
    if (command.fault != CommandFault::NONE) continue;
    hash.hide(command.payloadIndex, command.crcIndex() + CRC_BITS);
  }
  std::array<char, NUM_DIGITS + 1> digits;
  std::snprintf(digits.data(), digits.size(), "%016llx",
                static_cast<unsigned long long>(hash.finish()));
  return std::string(PREFIX) + digits.data();
}

bool isFingerprint(std::string_view text) {
  return text.starts_with(PREFIX) && text.size() == PREFIX.size() + NUM_DIGITS &&
         text.find_first_not_of("0123456789abcdef", PREFIX.size()) == text.npos;
}
