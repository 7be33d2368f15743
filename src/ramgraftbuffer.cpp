#include "ramgraftbuffer.h"

#include <algorithm>
#include <new>
#include <utility>

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : storage(std::move(other.storage)),
      length(std::exchange(other.length, 0)),
      reserved(std::exchange(other.reserved, 0)) {}

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
  void* grown = std::realloc(storage.get(), bytes);
  if (grown == nullptr) throw std::bad_alloc();
  static_cast<void>(storage.release());
  storage.reset(static_cast<unsigned char*>(grown));
  reserved = bytes;
}

void ByteBuffer::resize(std::size_t bytes) {
  reserve(bytes);
  length = bytes;
}

void ByteBuffer::push(unsigned char byte) {
  if (length == reserved) reserve(std::max<std::size_t>(64, reserved * 2));
  storage[length++] = byte;
}
