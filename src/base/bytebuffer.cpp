#include "base/bytebuffer.h"

#include <sys/mman.h>

#include <cstdint>
#include <new>

namespace {

// Large buffers use huge pages where available: faulting in 2 MB of small pages one by one takes
// six times as long.
void* allocate(std::size_t bytes) {
  constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20;
  if (bytes < HUGE_PAGE / 4 || bytes > SIZE_MAX - HUGE_PAGE) return std::malloc(bytes);
  const std::size_t rounded = (bytes + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
  void* const memory = std::aligned_alloc(HUGE_PAGE, rounded);
  if (memory != nullptr) ::madvise(memory, rounded, MADV_HUGEPAGE);
  return memory;
}

}  // namespace

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
  storage = std::move(other.storage);
  length = std::exchange(other.length, 0);
  reserved = std::exchange(other.reserved, 0);
  return *this;
}

std::string_view ByteBuffer::text() const {
  return {reinterpret_cast<const char*>(storage.get()), length};
}

void ByteBuffer::reserve(std::size_t bytes) {
  if (bytes <= reserved) return;
  void* const grown = storage == nullptr ? allocate(bytes) : std::realloc(storage.get(), bytes);
  if (grown == nullptr) throw std::bad_alloc();
  static_cast<void>(storage.release());  // realloc() has freed or kept it
  storage.reset(static_cast<unsigned char*>(grown));
  reserved = bytes;
}

void ByteBuffer::push(unsigned char byte) {
  resize(length + 1);
  storage[length - 1] = byte;
}
