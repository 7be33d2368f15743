// ByteBuffer: the bytes of a file in memory.
#ifndef RAMGRAFT_BASE_BYTEBUFFER_H
#define RAMGRAFT_BASE_BYTEBUFFER_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

/// A growable run of bytes whose new bytes stay uninitialised, so that reading a large file writes
/// its memory only once. Growing never holds two copies of a large buffer, because the C library
/// remaps large blocks instead of copying them. Movable, not copyable; a moved-from buffer is
/// empty.
class ByteBuffer {
 public:
  ByteBuffer() = default;
  ByteBuffer(ByteBuffer&& other) noexcept { *this = std::move(other); }
  ByteBuffer& operator=(ByteBuffer&& other) noexcept;

  /// The bytes; null until something is reserved. Valid until the buffer grows.
  unsigned char* data() { return storage.get(); }
  const unsigned char* data() const { return storage.get(); }
  /// The same bytes as text.
  std::string_view text() const;
  /// Number of bytes held.
  std::size_t size() const { return length; }
  /// Number of bytes that can be held without growing.
  std::size_t capacity() const { return reserved; }

  /// Makes room for at least `bytes` bytes in all. Throws std::bad_alloc, the buffer unchanged.
  void reserve(std::size_t bytes);
  /// Sets the number of bytes; added bytes are uninitialised. Growing step by step takes amortised
  /// constant time for each byte. Throws as reserve() does.
  void resize(std::size_t bytes) {
    if (bytes > reserved) reserve(bytes > reserved * 2 ? bytes : reserved * 2);
    length = bytes;
  }
  /// Appends one byte. Throws as reserve() does.
  void push(unsigned char byte);

 private:
  struct Free {
    void operator()(unsigned char* bytes) const { std::free(bytes); }
  };

  std::unique_ptr<unsigned char[], Free> storage;
  std::size_t length = 0;
  std::size_t reserved = 0;
};

#endif
