// fsimage_dir.cc --
//
//    8.3 names and the root directory of a FAT12/FAT16 volume: decoding its
//    32-byte slots, finding names, and adding and updating file entries
//    without disturbing the long-name entries that other systems left.

#include <algorithm>
#include <ctime>

#include "fat/fsimage.hh"

namespace trp::fat {

namespace {

// Directory entry fields.
constexpr size_t kName = 0;
constexpr size_t kAttr = 11;
constexpr size_t kCase = 12;
constexpr size_t kCreateTenths = 13;
constexpr size_t kCreateTime = 14;
constexpr size_t kCreateDate = 16;
constexpr size_t kAccessDate = 18;
constexpr size_t kClusterHigh = 20;
constexpr size_t kWriteTime = 22;
constexpr size_t kWriteDate = 24;
constexpr size_t kClusterLow = 26;
constexpr size_t kSize = 28;
static_assert(kSize + 4 == kDirEntrySize);

constexpr uint8_t kAttrVolumeId = 0x08;
constexpr uint8_t kAttrDirectory = 0x10;
constexpr uint8_t kAttrArchive = 0x20;
constexpr uint8_t kAttrLongNameMask = 0x3F;
constexpr uint8_t kAttrLongName = 0x0F;

constexpr uint8_t kEndMark = 0x00;
constexpr uint8_t kDeletedMark = 0xE5;
// A name whose first byte really is 0xE5 stores 0x05 there.
constexpr uint8_t kEscapedE5 = 0x05;

constexpr size_t kBaseLen = 8;
constexpr size_t kExtLen = 3;

bool IsAsciiLower(uint8_t c) { return c >= 'a' && c <= 'z'; }
bool IsAsciiUpper(uint8_t c) { return c >= 'A' && c <= 'Z'; }
uint8_t AsciiUpper(uint8_t c) { return IsAsciiLower(c) ? static_cast<uint8_t>(c - 'a' + 'A') : c; }
uint8_t AsciiLower(uint8_t c) { return IsAsciiUpper(c) ? static_cast<uint8_t>(c - 'A' + 'a') : c; }

// Characters accepted in names that we create: letters, digits and the
// punctuation that short names allow. Blanks and bytes beyond ASCII (whose
// meaning depends on the guest's code page) are refused.
bool IsCreatableChar(char ch) {
   const auto c = static_cast<uint8_t>(ch);
   if (IsAsciiLower(c) || IsAsciiUpper(c) || (c >= '0' && c <= '9')) {
      return true;
   }
   return std::string_view("!#$%&'()-@^_`{}~").find(ch) != std::string_view::npos;
}

// Bytes that can never stand in a stored short name. Names read from an
// image go to host paths, so separators and control characters are refused.
bool IsForbiddenStoredChar(uint8_t c) {
   return c < 0x20 || c == 0x7F ||
          std::string_view("\"*+,./:;<=>?[\\]|").find(static_cast<char>(c)) !=
             std::string_view::npos;
}

// Upper-cases one part of a name into out; the lower-case flag when the part
// holds letters and all of them are lower case.
bool StorePart(std::string_view part, uint8_t *out) {
   bool lower = false;
   bool upper = false;
   for (size_t i = 0; i < part.size(); i++) {
      const auto c = static_cast<uint8_t>(part[i]);
      lower |= IsAsciiLower(c);
      upper |= IsAsciiUpper(c);
      out[i] = AsciiUpper(c);
   }
   return lower && !upper;
}

uint16_t GetLe16(const RawEntry &e, size_t off) {
   return static_cast<uint16_t>(e.at(off) | (e.at(off + 1) << 8));
}

uint32_t GetLe32(const RawEntry &e, size_t off) {
   return uint32_t{GetLe16(e, off)} | (uint32_t{GetLe16(e, off + 2)} << 16);
}

// The lookup key of a stored name: its bytes in upper case, with the
// escaped 0xE5 of the first byte restored.
std::string NameKey(const RawName &stored) {
   std::string key(stored.begin(), stored.end());
   if (static_cast<uint8_t>(key[0]) == kEscapedE5) {
      key[0] = static_cast<char>(kDeletedMark);
   }
   for (char &c : key) {
      c = static_cast<char>(AsciiUpper(static_cast<uint8_t>(c)));
   }
   return key;
}

bool IsFileOrDirectory(SlotKind kind) {
   return kind == SlotKind::File || kind == SlotKind::Directory;
}

void PutLe16(RawEntry &e, size_t off, uint16_t v) {
   e.at(off) = static_cast<uint8_t>(v);
   e.at(off + 1) = static_cast<uint8_t>(v >> 8);
}

void PutLe32(RawEntry &e, size_t off, uint32_t v) {
   PutLe16(e, off, static_cast<uint16_t>(v));
   PutLe16(e, off + 2, static_cast<uint16_t>(v >> 16));
}

}  // namespace

// ---------------------------------------------------------------------------
// ShortName

FatResult<ShortName> ShortName::parse(std::string_view text) {
   const size_t dot = text.find('.');
   const std::string_view base = text.substr(0, dot);
   const std::string_view ext = dot == std::string_view::npos ? std::string_view{}
                                                              : text.substr(dot + 1);
   // A leading dot, a second dot or a trailing dot do not make an 8.3 name.
   if (base.empty() || base.size() > kBaseLen || ext.size() > kExtLen ||
       (dot != std::string_view::npos && ext.empty())) {
      return Err{FatError::BadName};
   }
   if (!std::all_of(base.begin(), base.end(), IsCreatableChar) ||
       !std::all_of(ext.begin(), ext.end(), IsCreatableChar)) {
      return Err{FatError::BadName};
   }
   ShortName name;
   name.raw_.fill(' ');
   // A mixed-case part ("Preseed") cannot be recorded by the two flags; it
   // is stored upper case and guests list it so.
   if (StorePart(base, name.raw_.data())) {
      name.caseFlags_ |= kLowerBase;
   }
   if (StorePart(ext, name.raw_.data() + kBaseLen)) {
      name.caseFlags_ |= kLowerExt;
   }
   return name;
}

std::optional<std::string> ShortName::display(const RawName &raw, uint8_t caseFlags) {
   RawName bytes = raw;
   if (bytes[0] == kEscapedE5) {
      bytes[0] = kDeletedMark;
   }
   if (bytes[0] == ' ') {
      return std::nullopt;
   }
   size_t baseLen = kBaseLen;
   while (baseLen > 0 && bytes[baseLen - 1] == ' ') {
      baseLen--;
   }
   size_t extLen = kExtLen;
   while (extLen > 0 && bytes[kBaseLen + extLen - 1] == ' ') {
      extLen--;
   }
   std::string text;
   auto append = [&](size_t from, size_t len, bool lower) {
      for (size_t i = from; i < from + len; i++) {
         text.push_back(static_cast<char>(lower ? AsciiLower(bytes[i]) : bytes[i]));
      }
   };
   append(0, baseLen, (caseFlags & kLowerBase) != 0);
   if (extLen > 0) {
      text.push_back('.');
      append(kBaseLen, extLen, (caseFlags & kLowerExt) != 0);
   }
   for (size_t i = 0; i < kShortNameLen; i++) {
      if (IsForbiddenStoredChar(bytes[i])) {
         return std::nullopt;
      }
   }
   return text;
}

bool ShortName::matches(const RawName &stored) const {
   return NameKey(stored) == NameKey(raw_);
}

// ---------------------------------------------------------------------------
// Timestamps

DosStamp DosStampNow() {
   struct timespec now {};
   clock_gettime(CLOCK_REALTIME, &now);
   struct tm local {};
   localtime_r(&now.tv_sec, &local);
   const int year = std::clamp(local.tm_year + 1900, 1980, 2107);
   DosStamp s;
   if (year != local.tm_year + 1900) {
      // Outside what the format can hold: the nearest representable day.
      s.date = year == 1980 ? static_cast<uint16_t>((1 << 5) | 1)
                            : static_cast<uint16_t>((127 << 9) | (12 << 5) | 31);
      return s;
   }
   s.date = static_cast<uint16_t>(((year - 1980) << 9) | ((local.tm_mon + 1) << 5) | local.tm_mday);
   s.time = static_cast<uint16_t>((local.tm_hour << 11) | (local.tm_min << 5) |
                                  (std::min(local.tm_sec, 59) / 2));
   s.tenths = static_cast<uint8_t>((local.tm_sec % 2) * 100 + now.tv_nsec / 10000000);
   return s;
}

// ---------------------------------------------------------------------------
// RootDirectory

FatResult<RootDirectory> RootDirectory::load(const ImageFile &image, const Geometry &geometry) {
   std::vector<uint8_t> bytes(static_cast<size_t>(geometry.rootBytes()));
   auto read = image.readAt(geometry.rootOffset(), bytes);
   if (!read) {
      return Err{FromFileError(read.error())};
   }
   const ByteView view(bytes.data(), bytes.size());
   const auto count = static_cast<uint32_t>(bytes.size() / kDirEntrySize);
   uint32_t end = count;
   for (uint32_t i = 0; i < count; i++) {
      if (view.u8(uint64_t{i} * kDirEntrySize + kName) == kEndMark) {
         end = i;
         break;
      }
   }
   return RootDirectory(std::move(bytes), end);
}

RootDirectory::RootDirectory(std::vector<uint8_t> bytes, uint32_t endIndex)
   : bytes_(std::move(bytes)), endIndex_(endIndex) {
   // Where a damaged directory holds a name twice, the first slot wins, as
   // it does for a reader that scans the directory in order.
   for (uint32_t i = 0; i < endIndex_; i++) {
      const SlotInfo info = slot(i);
      if (IsFileOrDirectory(info.kind)) {
         byName_.try_emplace(NameKey(info.name), i);
      }
   }
}

RawEntry RootDirectory::entry(uint32_t index) const {
   RawEntry e{};
   const ByteView view(bytes_.data(), bytes_.size());
   if (auto s = view.slice(uint64_t{index} * kDirEntrySize, kDirEntrySize)) {
      std::copy(s->span().begin(), s->span().end(), e.begin());
   }
   return e;
}

void RootDirectory::store(uint32_t index, const RawEntry &e) {
   if (index >= slotCount()) {
      return;
   }
   std::copy(e.begin(), e.end(), bytes_.begin() + static_cast<ptrdiff_t>(index) * kDirEntrySize);
   if (!dirty()) {
      dirtyBegin_ = index;
      dirtyEnd_ = index + 1;
   } else {
      dirtyBegin_ = std::min(dirtyBegin_, index);
      dirtyEnd_ = std::max(dirtyEnd_, index + 1);
   }
}

SlotInfo RootDirectory::slot(uint32_t index) const {
   SlotInfo info;
   // The end mark says that it and every later slot are free, whatever
   // they hold.
   if (index >= endIndex_ || index >= slotCount()) {
      return info;
   }
   const RawEntry e = entry(index);
   std::copy(e.begin() + kName, e.begin() + kName + kShortNameLen, info.name.begin());
   const uint8_t attr = e[kAttr];
   if (e[kName] == kDeletedMark) {
      info.kind = SlotKind::Deleted;
   } else if ((attr & kAttrLongNameMask) == kAttrLongName) {
      info.kind = SlotKind::LongName;
   } else if (attr & kAttrVolumeId) {
      info.kind = SlotKind::Label;
   } else {
      info.kind = (attr & kAttrDirectory) ? SlotKind::Directory : SlotKind::File;
   }
   info.caseFlags = e[kCase];
   // FAT12/FAT16 keep only the low 16 bits of the first cluster.
   info.firstCluster = GetLe16(e, kClusterLow);
   info.size = GetLe32(e, kSize);
   return info;
}

FatResult<uint32_t> RootDirectory::find(const ShortName &name) const {
   // Slots only ever become files (create), never stop being one, so the
   // index built at load time and extended by create stays exact.
   if (auto found = byName_.find(NameKey(name.raw())); found != byName_.end()) {
      return found->second;
   }
   return Err{FatError::NotFound};
}

bool RootDirectory::freeForNewEntry(uint32_t index) const {
   const SlotKind kind = slot(index).kind;
   if (kind != SlotKind::Unused && kind != SlotKind::Deleted) {
      return false;
   }
   // A slot right after a live long-name entry would become that name's
   // short entry; leave it alone.
   return index == 0 || slot(index - 1).kind != SlotKind::LongName;
}

FatResult<uint32_t> RootDirectory::create(const ShortName &name, DosStamp now) {
   uint32_t index = 0;
   while (index < slotCount() && !freeForNewEntry(index)) {
      index++;
   }
   if (index >= slotCount()) {
      return Err{FatError::DirFull};
   }

   if (index >= endIndex_) {
      // Slots skipped between the end mark and the new entry become
      // deleted entries, so that readers still reach the new one.
      for (uint32_t i = endIndex_; i < index; i++) {
         RawEntry skipped{};
         skipped[kName] = kDeletedMark;
         store(i, skipped);
      }
      // The slot after the new entry carries the end mark; it was free, but
      // may hold stale bytes.
      if (index + 1 < slotCount() && entry(index + 1)[kName] != kEndMark) {
         store(index + 1, RawEntry{});
      }
      endIndex_ = index + 1 < slotCount() ? index + 1 : slotCount();
   }

   RawEntry e{};
   std::copy(name.raw().begin(), name.raw().end(), e.begin() + kName);
   e[kAttr] = kAttrArchive;
   e[kCase] = name.caseFlags();
   e[kCreateTenths] = now.tenths;
   PutLe16(e, kCreateTime, now.time);
   PutLe16(e, kCreateDate, now.date);
   PutLe16(e, kAccessDate, now.date);
   PutLe16(e, kClusterHigh, 0);
   PutLe16(e, kWriteTime, now.time);
   PutLe16(e, kWriteDate, now.date);
   PutLe16(e, kClusterLow, 0);
   PutLe32(e, kSize, 0);
   store(index, e);
   auto [at, added] = byName_.try_emplace(NameKey(name.raw()), index);
   if (!added) {
      at->second = std::min(at->second, index);
   }
   return index;
}

void RootDirectory::update(uint32_t index, uint16_t firstCluster, uint32_t size, DosStamp now) {
   RawEntry e = entry(index);
   e[kAttr] |= kAttrArchive;
   PutLe16(e, kClusterLow, firstCluster);
   PutLe32(e, kSize, size);
   PutLe16(e, kWriteTime, now.time);
   PutLe16(e, kWriteDate, now.date);
   PutLe16(e, kAccessDate, now.date);
   store(index, e);
}

FatStatus RootDirectory::flush(ImageFile &image, const Geometry &geometry) {
   if (!dirty()) {
      return {};
   }
   const size_t from = size_t{dirtyBegin_} * kDirEntrySize;
   const size_t to = size_t{dirtyEnd_} * kDirEntrySize;
   auto written = image.writeAt(geometry.rootOffset() + from,
                                std::span<const uint8_t>(bytes_).subspan(from, to - from));
   if (!written) {
      return Err{FromFileError(written.error())};
   }
   dirtyBegin_ = dirtyEnd_ = 0;
   return {};
}

}  // namespace trp::fat
