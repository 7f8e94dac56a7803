// mini_iso.hh --
//
//    A minimal ISO 9660 image writer for the detector fuzz targets: lays a
//    small tree of files (paths and bytes) into a plain ECMA-119 image in
//    memory, so that fuzzed marker-file texts reach the detectors through the
//    real reader and access layer. Names are stored as given (files with a
//    ";1" version); a directory's records never cross a block boundary.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

class MiniIso {
public:
   // Adds a file; parent directories are made as needed. Names of one
   // directory must be unique and at most 200 bytes.
   void AddFile(std::string_view path, std::string_view contents) {
      Node *dir = &root_;
      while (true) {
         size_t slash = path.find('/');
         if (slash == std::string_view::npos) {
            break;
         }
         std::string part(path.substr(0, slash));
         path.remove_prefix(slash + 1);
         if (part.empty()) {
            continue;
         }
         auto &child = dir->children[part];
         if (!child) {
            child = std::make_unique<Node>();
            child->isDir = true;
         }
         dir = child.get();
      }
      auto &file = dir->children[std::string(path)];
      file = std::make_unique<Node>();
      file->data = std::string(contents);
   }

   void SetVolumeId(std::string_view id) { volumeId_ = std::string(id.substr(0, 32)); }

   // The whole image.
   std::string Build() {
      next_ = 18;  // blocks 16 and 17: primary descriptor and terminator
      Place(&root_);
      image_.assign(static_cast<size_t>(next_) * kBlock, '\0');
      Emit(&root_, &root_);
      std::string pvd(kBlock, '\0');
      pvd[0] = 1;
      pvd.replace(1, 5, "CD001");
      pvd[6] = 1;
      std::string vid = volumeId_;
      vid.resize(32, ' ');
      pvd.replace(40, 32, vid);
      Both32(pvd, 80, next_);
      Both16(pvd, 120, 1);
      Both16(pvd, 124, 1);
      Both16(pvd, 128, kBlock);
      pvd.replace(156, 34, Record(root_, std::string_view("\0", 1)));
      image_.replace(16 * kBlock, kBlock, pvd);
      std::string term(kBlock, '\0');
      term[0] = static_cast<char>(255);
      term.replace(1, 5, "CD001");
      term[6] = 1;
      image_.replace(17 * kBlock, kBlock, term);
      return image_;
   }

private:
   static constexpr uint32_t kBlock = 2048;

   struct Node {
      bool isDir = false;
      std::string data;
      std::map<std::string, std::unique_ptr<Node>> children;
      uint32_t extent = 0;
      uint32_t size = 0;
   };

   static void Both16(std::string &s, size_t at, uint32_t v) {
      s[at] = static_cast<char>(v & 0xFF);
      s[at + 1] = static_cast<char>((v >> 8) & 0xFF);
      s[at + 2] = static_cast<char>((v >> 8) & 0xFF);
      s[at + 3] = static_cast<char>(v & 0xFF);
   }
   static void Both32(std::string &s, size_t at, uint32_t v) {
      for (int i = 0; i < 4; i++) {
         s[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
         s[at + 7 - i] = static_cast<char>((v >> (8 * i)) & 0xFF);
      }
   }

   static std::string Record(const Node &n, std::string_view id) {
      size_t len = 33 + id.size() + (id.size() % 2 == 0 ? 1 : 0);
      std::string r(len, '\0');
      r[0] = static_cast<char>(len);
      Both32(r, 2, n.extent);
      Both32(r, 10, n.size);
      r[25] = n.isDir ? 2 : 0;
      Both16(r, 28, 1);
      r[32] = static_cast<char>(id.size());
      r.replace(33, id.size(), id);
      return r;
   }

   static std::string FileId(const std::string &name, const Node &n) {
      return n.isDir ? name : name + ";1";
   }

   // The records of a directory, padded so none crosses a block boundary.
   std::string DirBytes(const Node &dir, const Node &parent) const {
      std::string out;
      auto add = [&out](const std::string &rec) {
         size_t room = kBlock - out.size() % kBlock;
         if (rec.size() > room) {
            out.append(room, '\0');
         }
         out += rec;
      };
      add(Record(dir, std::string_view("\0", 1)));
      add(Record(parent, std::string_view("\1", 1)));
      for (const auto &[name, child] : dir.children) {
         add(Record(*child, FileId(name, *child)));
      }
      return out;
   }

   // Gives every node its extent and size (directories before their files).
   void Place(Node *dir) {
      std::vector<std::string> ids;
      size_t bytes = 0;
      size_t used = 0;
      auto count = [&](size_t len) {
         size_t room = kBlock - used % kBlock;
         if (len > room) {
            used += room;
         }
         used += len;
      };
      count(34);
      count(34);
      for (const auto &[name, child] : dir->children) {
         std::string id = FileId(name, *child);
         count(33 + id.size() + (id.size() % 2 == 0 ? 1 : 0));
      }
      bytes = (used + kBlock - 1) / kBlock * kBlock;
      dir->extent = next_;
      dir->size = static_cast<uint32_t>(bytes);
      next_ += static_cast<uint32_t>(bytes / kBlock);
      for (auto &[name, child] : dir->children) {
         if (child->isDir) {
            Place(child.get());
         } else {
            child->extent = next_;
            child->size = static_cast<uint32_t>(child->data.size());
            next_ += static_cast<uint32_t>((child->data.size() + kBlock - 1) / kBlock);
         }
      }
   }

   void Emit(const Node *dir, const Node *parent) {
      std::string bytes = DirBytes(*dir, *parent);
      image_.replace(static_cast<size_t>(dir->extent) * kBlock, bytes.size(), bytes);
      for (const auto &[name, child] : dir->children) {
         if (child->isDir) {
            Emit(child.get(), dir);
         } else if (!child->data.empty()) {
            image_.replace(static_cast<size_t>(child->extent) * kBlock, child->data.size(),
                           child->data);
         }
      }
   }

   Node root_{true, {}, {}, 0, 0};
   std::string volumeId_ = "FUZZ";
   uint32_t next_ = 0;
   std::string image_;
};

// Splits a fuzz input into up to `parts` pieces at "\n--8<--\n" markers, so
// one input can carry several marker files.
inline std::vector<std::string_view> SplitInput(std::string_view input, size_t parts) {
   static constexpr std::string_view kCut = "\n--8<--\n";
   std::vector<std::string_view> out;
   while (out.size() + 1 < parts) {
      size_t at = input.find(kCut);
      if (at == std::string_view::npos) {
         break;
      }
      out.push_back(input.substr(0, at));
      input.remove_prefix(at + kCut.size());
   }
   out.push_back(input);
   out.resize(parts);
   return out;
}

}  // namespace fuzz
