#include "base/bytebuffer.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

// Memory for large contents comes in huge pages where the system has them: 2 MB in small ones take
// six times as long, because each must be found, cleared and handed over by itself.
void* allocate(std::size_t bytes) {
  constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20;
  if (bytes < HUGE_PAGE / 4 || bytes > SIZE_MAX - HUGE_PAGE) return std::malloc(bytes);
  const std::size_t rounded = (bytes + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
  void* const memory = std::aligned_alloc(HUGE_PAGE, rounded);
  if (memory != nullptr) ::madvise(memory, rounded, MADV_HUGEPAGE);
  return memory;
}

}  // namespace

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : storage(std::exchange(other.storage, {nullptr, Release{0}})),
      length(std::exchange(other.length, 0)),
      reserved(std::exchange(other.reserved, 0)) {}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
  storage = std::exchange(other.storage, {nullptr, Release{0}});
  length = std::exchange(other.length, 0);
  reserved = std::exchange(other.reserved, 0);
  return *this;
}

std::string_view ByteBuffer::text() const {
  return {reinterpret_cast<const char*>(storage.get()), length};
}

void ByteBuffer::Release::operator()(unsigned char* bytes) const {
  if (mappedBytes == 0) {
    std::free(bytes);
  } else {
    ::munmap(bytes, mappedBytes);
  }
}

void ByteBuffer::reserve(std::size_t bytes) {
  if (bytes <= reserved) return;
  const bool isMapped = storage.get_deleter().mappedBytes > 0;
  const bool isFirst = isMapped || storage == nullptr;
  void* grown = isFirst ? allocate(bytes) : std::realloc(storage.get(), bytes);
  if (grown == nullptr) throw std::bad_alloc();
  if (isMapped) {
    std::memcpy(grown, storage.get(), length);
  } else {
    static_cast<void>(storage.release());
  }
  storage = {static_cast<unsigned char*>(grown), Release{0}};
  reserved = bytes;
}

bool ByteBuffer::map(int descriptor, std::size_t bytes) {
  *this = ByteBuffer();
  if (bytes == 0) return false;
  void* mapped = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE, descriptor, 0);
  if (mapped == MAP_FAILED) return false;
  storage = {static_cast<unsigned char*>(mapped), Release{bytes}};
  // Brings in all pages now, in one call, and says so when one of them can't be read.
  if (::madvise(mapped, bytes, MADV_POPULATE_READ) != 0) {
    *this = ByteBuffer();
    return false;
  }
  length = bytes;
  reserved = bytes;
  return true;
}

void ByteBuffer::push(unsigned char byte) {
  resize(length + 1);
  storage[length - 1] = byte;
}
