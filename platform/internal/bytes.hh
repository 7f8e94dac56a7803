// bytes.hh --
//
//    Bounds-checked views of on-disk bytes. Every structure that a reader
//    decodes goes through ByteView: a slice is taken only after checking
//    offset + size for overflow and against the view's length, and integers
//    are decoded with an explicit byte order. Readers never do their own
//    pointer arithmetic on image data.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

namespace trp {

// Whether [offset, offset + size) lies inside [0, total), without overflow.
constexpr bool RangeFits(uint64_t offset, uint64_t size, uint64_t total) {
   return offset <= total && size <= total - offset;
}

// offset + size, or nothing when it overflows 64 bits.
constexpr std::optional<uint64_t> CheckedAdd(uint64_t a, uint64_t b) {
   if (b > UINT64_MAX - a) {
      return std::nullopt;
   }
   return a + b;
}

// a * b, or nothing when it overflows 64 bits.
constexpr std::optional<uint64_t> CheckedMul(uint64_t a, uint64_t b) {
   if (a != 0 && b > UINT64_MAX / a) {
      return std::nullopt;
   }
   return a * b;
}

class ByteView {
public:
   ByteView() = default;
   ByteView(const uint8_t *data, size_t size) : data_(data, size) {}
   explicit ByteView(std::span<const uint8_t> data) : data_(data) {}

   size_t size() const { return data_.size(); }
   bool empty() const { return data_.empty(); }
   std::span<const uint8_t> span() const { return data_; }

   // The sub-view [offset, offset + size), or nothing when it does not fit.
   std::optional<ByteView> slice(uint64_t offset, uint64_t size) const {
      if (!RangeFits(offset, size, data_.size())) {
         return std::nullopt;
      }
      return ByteView(data_.subspan(static_cast<size_t>(offset), static_cast<size_t>(size)));
   }
   // Everything from offset on (empty at the end), or nothing past the end.
   std::optional<ByteView> from(uint64_t offset) const {
      if (offset > data_.size()) {
         return std::nullopt;
      }
      return ByteView(data_.subspan(static_cast<size_t>(offset)));
   }

   // Integer readers; nothing when the field does not fit.
   std::optional<uint8_t> u8(uint64_t off) const {
      if (!RangeFits(off, 1, data_.size())) return std::nullopt;
      return data_[static_cast<size_t>(off)];
   }
   std::optional<uint16_t> le16(uint64_t off) const { return decode<uint16_t, 2, false>(off); }
   std::optional<uint16_t> be16(uint64_t off) const { return decode<uint16_t, 2, true>(off); }
   std::optional<uint32_t> le32(uint64_t off) const { return decode<uint32_t, 4, false>(off); }
   std::optional<uint32_t> be32(uint64_t off) const { return decode<uint32_t, 4, true>(off); }
   std::optional<uint64_t> le64(uint64_t off) const { return decode<uint64_t, 8, false>(off); }

   // Text of exactly len bytes at off (may hold NULs).
   std::optional<std::string_view> chars(uint64_t off, uint64_t len) const {
      auto s = slice(off, len);
      if (!s) return std::nullopt;
      return std::string_view(reinterpret_cast<const char *>(s->data_.data()), s->size());
   }

   // Unchecked access for code that has already sliced to a known size.
   uint8_t operator[](size_t i) const { return data_[i]; }
   const uint8_t *data() const { return data_.data(); }

private:
   template <typename T, int N, bool BigEndian>
   std::optional<T> decode(uint64_t off) const {
      if (!RangeFits(off, N, data_.size())) return std::nullopt;
      T v = 0;
      for (int i = 0; i < N; i++) {
         int idx = BigEndian ? i : N - 1 - i;
         v = static_cast<T>((v << 8) | data_[static_cast<size_t>(off) + idx]);
      }
      return v;
   }

   std::span<const uint8_t> data_;
};

}  // namespace trp
