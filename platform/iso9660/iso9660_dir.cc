// iso9660_dir.cc --
//
//    ISO 9660 directory records and the names they present: plain
//    identifiers, Joliet UCS-2 names and Rock Ridge (SUSP/RRIP) names,
//    including continuation areas, relocated directories and multi-extent
//    files.

#include <optional>

#include "internal/bytes.hh"
#include "iso9660/iso9660_volume.hh"

namespace trp::iso {

namespace {

// Directory record fields (ECMA-119 9.1).
constexpr size_t kRecLength = 0;
constexpr size_t kRecXarLength = 1;
constexpr size_t kRecExtent = 2;
constexpr size_t kRecDataLength = 10;
constexpr size_t kRecFlags = 25;
constexpr size_t kRecNameLength = 32;
constexpr size_t kRecName = 33;

constexpr uint8_t kFlagDirectory = 0x02;
constexpr uint8_t kFlagAssociated = 0x04;
constexpr uint8_t kFlagMultiExtent = 0x80;

void AppendUtf8(std::string *out, uint32_t cp) {
   if (cp < 0x80) {
      out->push_back(static_cast<char>(cp));
   } else if (cp < 0x800) {
      out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
   } else if (cp < 0x10000) {
      out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
   } else {
      out->push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
   }
}

// Removes a ";<version>" ending.
std::string_view StripVersion(std::string_view name) {
   size_t semi = name.rfind(';');
   if (semi == std::string_view::npos) {
      return name;
   }
   for (size_t i = semi + 1; i < name.size(); i++) {
      if (name[i] < '0' || name[i] > '9') {
         return name;
      }
   }
   return name.substr(0, semi);
}

// A presented name never holds "/" or NUL: a path could not reach it and a
// host copy must not escape its directory.
void Sanitise(std::string *name) {
   for (char &c : *name) {
      if (c == '/' || c == '\0') {
         c = '_';
      }
   }
}

// What the system-use area of one record says, as far as names go.
struct RockRidgeInfo {
   std::optional<std::string> name;  // NM content
   bool relocated = false;           // RE: the real entry is reached through a CL
   std::optional<uint32_t> childLink;  // CL: the directory lives at this block
   bool selfOrParent = false;        // NM with the CURRENT or PARENT flag
};

// Walks system-use areas. Continuation areas are read from the image, so
// the bytes read for one directory are bounded too: records that all point
// at the same large area would otherwise cost a read of it each.
class SuspWalker {
public:
   SuspWalker(const ImageFile &file, const Descriptors &desc) : file_(file), desc_(desc) {}

   // Whether the directory's continuation budget ran out.
   bool exhausted() const { return exhausted_; }

   // Walks the entries of a system-use area and its continuation areas.
   RockRidgeInfo walk(ByteView area) {
      RockRidgeInfo info;
      std::vector<uint8_t> continuation;
      uint32_t hops = 0;
      size_t total = 0;
      ByteView current = area;
      for (;;) {
         std::optional<Extent> next;
         size_t pos = 0;
         while (pos + 4 <= current.size() && total < kMaxSuspBytes) {
            auto sig = current.chars(pos, 2);
            auto len = current.u8(pos + 2);
            if (!sig || !len || *len < 4 || !RangeFits(pos, *len, current.size())) {
               break;
            }
            ByteView entry = *current.slice(pos, *len);
            if (*sig == "NM" && entry.size() >= 5) {
               uint8_t flags = entry[4];
               if ((flags & 0x06) != 0) {
                  info.selfOrParent = true;
               }
               std::string part(reinterpret_cast<const char *>(entry.data()) + 5, entry.size() - 5);
               info.name = info.name.value_or("") + part;
            } else if (*sig == "RE") {
               info.relocated = true;
            } else if (*sig == "CL" && entry.size() >= 12) {
               info.childLink = entry.le32(4);
            } else if (*sig == "CE" && entry.size() >= 28) {
               auto block = entry.le32(4), offset = entry.le32(12), length = entry.le32(20);
               if (block && offset && length) {
                  auto base = CheckedMul(*block, desc_.blockSize);
                  auto start = base ? CheckedAdd(*base, *offset) : std::nullopt;
                  if (start) {
                     next = Extent{*start, *length};
                  }
               }
            } else if (*sig == "ST") {
               break;
            }
            total += *len;
            pos += *len;
         }
         if (!next || ++hops > kMaxSuspContinuations || next->length == 0 ||
             next->length > kMaxSuspBytes - std::min(total, kMaxSuspBytes) ||
             !RangeFits(next->offset, next->length, file_.size())) {
            break;
         }
         if (next->length > kMaxListingSuspBytes - continuationBytes_) {
            exhausted_ = true;
            break;
         }
         continuationBytes_ += next->length;
         continuation.assign(static_cast<size_t>(next->length), 0);
         if (!file_.readAt(next->offset, continuation)) {
            break;
         }
         current = ByteView(continuation.data(), continuation.size());
      }
      return info;
   }

private:
   const ImageFile &file_;
   const Descriptors &desc_;
   uint64_t continuationBytes_ = 0;
   bool exhausted_ = false;
};

}  // namespace

// Plain identifiers end in ";1"; a file without an extension keeps the
// separator ("KERNEL.;1"). The dot is dropped too: it is only the empty
// extension's separator, not part of the name anyone gave the file, and
// presenting "KERNEL" lets lookups of the plain name succeed.
std::string PlainName(std::string_view identifier, bool isDirectory) {
   std::string_view name = isDirectory ? identifier : StripVersion(identifier);
   if (!isDirectory && name.size() > 1 && name.back() == '.') {
      name.remove_suffix(1);
   }
   std::string out(name);
   Sanitise(&out);
   return out;
}

std::string JolietName(std::span<const uint8_t> identifier) {
   std::string out;
   for (size_t i = 0; i + 1 < identifier.size(); i += 2) {
      uint32_t unit = (static_cast<uint32_t>(identifier[i]) << 8) | identifier[i + 1];
      if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < identifier.size()) {
         uint32_t low = (static_cast<uint32_t>(identifier[i + 2]) << 8) | identifier[i + 3];
         if (low >= 0xDC00 && low <= 0xDFFF) {
            AppendUtf8(&out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
            i += 2;
            continue;
         }
      }
      if (unit >= 0xD800 && unit <= 0xDFFF) {
         unit = 0xFFFD;
      }
      AppendUtf8(&out, unit);
   }
   std::string stripped(StripVersion(out));
   Sanitise(&stripped);
   return stripped;
}

IsoResult<Listing> ParseDirectory(const ImageFile &file, const Descriptors &desc, NameSpace ns,
                                  uint32_t block, std::span<const uint8_t> data, uint64_t base) {
   Listing listing;
   listing.block = block;
   ByteView dir(data);
   SuspWalker susp(file, desc);
   const uint32_t bs = desc.blockSize;
   std::optional<Entry> pending;  // a multi-extent file still collecting extents
   std::string pendingId;         // its file identifier, shared by all its records
   size_t nameBytes = 0;

   size_t pos = 0;
   while (pos < dir.size()) {
      // Records never cross a 2048-byte logical sector, whatever the block
      // size; a zero length byte pads the rest of the sector.
      const size_t sectorLeft = kSectorSize - static_cast<size_t>((base + pos) % kSectorSize);
      uint8_t len = dir[pos + kRecLength];
      if (len == 0) {
         pos += sectorLeft;
         continue;
      }
      if (len < kMinRecordSize || len > sectorLeft || !RangeFits(pos, len, dir.size())) {
         return Err{ISO9660_BAD_FORMAT};
      }
      ByteView rec = *dir.slice(pos, len);
      const uint64_t recordOffset = base + pos;
      pos += len;

      uint8_t nameLen = rec[kRecNameLength];
      if (kRecName + static_cast<size_t>(nameLen) > len) {
         return Err{ISO9660_BAD_FORMAT};
      }
      uint8_t flags = rec[kRecFlags];
      uint32_t xar = rec[kRecXarLength];
      uint32_t extent = *rec.le32(kRecExtent);
      uint32_t dataLength = *rec.le32(kRecDataLength);
      ByteView id = *rec.slice(kRecName, nameLen);
      std::string_view rawId(reinterpret_cast<const char *>(id.data()), nameLen);
      if (nameLen == 1 && (id[0] == 0 || id[0] == 1)) {
         continue;  // "." and ".."
      }
      if ((flags & kFlagAssociated) != 0) {
         continue;
      }
      bool isDirectory = (flags & kFlagDirectory) != 0;
      uint32_t dataBlock = extent + xar;
      auto offset = CheckedMul(dataBlock, bs);
      if (!offset) {
         return Err{ISO9660_BAD_FORMAT};
      }

      if (pending) {
         // Every record of a multi-extent file carries the same identifier;
         // the name space's name (a Rock Ridge NM may sit on the first
         // record only) comes from the first.
         if (pendingId != rawId || isDirectory) {
            return Err{ISO9660_BAD_FORMAT};  // the run ended without its final record
         }
         if (pending->extents.size() >= kMaxExtentsPerFile) {
            return Err{ISO9660_BAD_FORMAT};
         }
         pending->extents.push_back(Extent{*offset, dataLength});
         pending->size += dataLength;
         if ((flags & kFlagMultiExtent) != 0) {
            continue;
         }
         Entry done = std::move(*pending);
         pending.reset();
         if (listing.entries.size() >= kMaxDirectoryEntries) {
            return Err{ISO9660_BAD_FORMAT};
         }
         listing.entries.push_back(std::move(done));
         continue;
      }

      std::string name;
      if (ns == NameSpace::Joliet) {
         name = JolietName(id.span());
      } else {
         name = PlainName(rawId, isDirectory);
         if (ns == NameSpace::RockRidge) {
            size_t su = kRecName + nameLen + (nameLen % 2 == 0 ? 1 : 0) + desc.suspSkip;
            RockRidgeInfo rr = susp.walk(su < len ? *rec.slice(su, len - su) : ByteView());
            if (susp.exhausted()) {
               return Err{ISO9660_BAD_FORMAT};
            }
            if (rr.relocated || rr.selfOrParent) {
               continue;
            }
            if (rr.name && !rr.name->empty() && *rr.name != "." && *rr.name != "..") {
               name = *rr.name;
               Sanitise(&name);
            }
            if (rr.childLink) {
               // A directory moved elsewhere to keep the tree shallow: its
               // listing's "." record gives its size.
               isDirectory = true;
               dataBlock = *rr.childLink;
               dataLength = 0;
            }
         }
      }
      if (name.empty() || name == "." || name == ".." || name.size() >= ISO9660_NAME_MAX) {
         continue;
      }
      nameBytes += name.size();
      if (nameBytes > kMaxListingNameBytes) {
         return Err{ISO9660_BAD_FORMAT};
      }

      Entry entry;
      entry.name = std::move(name);
      entry.isDirectory = isDirectory;
      entry.recordOffset = recordOffset;
      entry.extentBlock = dataBlock;
      entry.size = dataLength;
      if (!isDirectory) {
         entry.extents.push_back(Extent{*offset, dataLength});
         if ((flags & kFlagMultiExtent) != 0) {
            pending = std::move(entry);
            pendingId = rawId;
            continue;
         }
      }
      if (listing.entries.size() >= kMaxDirectoryEntries) {
         return Err{ISO9660_BAD_FORMAT};
      }
      listing.entries.push_back(std::move(entry));
   }
   if (pending) {
      return Err{ISO9660_BAD_FORMAT};
   }
   return listing;
}

}  // namespace trp::iso
