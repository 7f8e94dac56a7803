// cmd_media_linux.cc --
//
//    trguest media linux --guest ID --tools DIR --answers DIR --out DIR
//                        [--templates DIR] [--loader FILE] [--mkisofs TOOL] SOURCE
//
//    Builds the media of an unattended Linux installation from SOURCE, the
//    distribution's disc as an ISO image or as a directory tree: OUT/autoinst.iso
//    (boot directory, tools upgrader files and, for flavours that read it
//    from the CD, the answer file) and, for flavours that read their answer
//    file from a floppy, OUT/autoinst.flp. The answer directory holds what
//    the answer-file step wrote. Each step is printed as it starts; while
//    the kernel and initrd are copied, a progress line runs on stderr.
//    Exit 0 on success, 2 when a step fails, 64 for bad usage.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

#include <trguest/autoinstall.h>

#include "commands.hh"

namespace trguest_cli {

namespace {

namespace fs = std::filesystem;

int Usage() {
   std::fprintf(stderr,
                "usage: trguest media linux --guest ID --tools DIR --answers DIR --out DIR\n"
                "                           [--templates DIR] [--loader FILE] [--mkisofs TOOL] "
                "SOURCE\n");
   return 64;
}

struct Options {
   const char *guest = nullptr, *tools = nullptr, *answers = nullptr, *out = nullptr;
   const char *templates = nullptr, *loader = nullptr, *mkisofs = "genisoimage";
   const char *source = nullptr;
};

bool Parse(int argc, char **argv, Options *o) {
   const struct {
      const char *flag;
      const char **slot;
   } flags[] = {{"--guest", &o->guest},         {"--tools", &o->tools},
                {"--answers", &o->answers},     {"--out", &o->out},
                {"--templates", &o->templates}, {"--loader", &o->loader},
                {"--mkisofs", &o->mkisofs}};
   for (int i = 0; i < argc; i++) {
      bool matched = false;
      for (const auto &f : flags) {
         if (std::strcmp(argv[i], f.flag) == 0 && i + 1 < argc) {
            *f.slot = argv[++i];
            matched = true;
         }
      }
      if (!matched) {
         if (o->source != nullptr || argv[i][0] == '-') {
            return false;
         }
         o->source = argv[i];
      }
   }
   return o->guest && o->tools && o->answers && o->out && o->source;
}

// Bytes of the regular files below dir (files being written included).
uintmax_t TreeBytes(const fs::path &dir) {
   std::error_code ec;
   uintmax_t total = 0;
   for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
      std::error_code sizeError;
      if (it->is_regular_file(sizeError)) {
         uintmax_t size = it->file_size(sizeError);
         total += sizeError ? 0 : size;
      }
   }
   return total;
}

// Prints how much of the boot directory has been written, on one stderr
// line, until stopped; silent for a step that ends within a second.
class Progress {
public:
   explicit Progress(fs::path dir)
      : dir_(std::move(dir)), thread_([this] { run(); }) {}
   ~Progress() {
      {
         std::lock_guard<std::mutex> lock(mutex_);
         done_ = true;
      }
      wake_.notify_all();
      thread_.join();
      if (printed_) {
         std::fprintf(stderr, "\n");
      }
   }

private:
   void run() {
      std::unique_lock<std::mutex> lock(mutex_);
      int ticks = 0;
      while (!wake_.wait_for(lock, std::chrono::milliseconds(250), [this] { return done_; })) {
         if (++ticks < 4) {
            continue;
         }
         std::fprintf(stderr, "\r  copied %.1f MiB of kernel and initrd",
                      static_cast<double>(TreeBytes(dir_)) / (1024.0 * 1024.0));
         std::fflush(stderr);
         printed_ = true;
      }
   }

   fs::path dir_;
   std::mutex mutex_;
   std::condition_variable wake_;
   bool done_ = false;
   bool printed_ = false;
   std::thread thread_;
};

bool Step(const char *what, bool ok) {
   if (!ok) {
      std::fprintf(stderr, "trguest: %s failed (see the log)\n", what);
   }
   return ok;
}

}  // namespace

int RunMediaLinux(int argc, char **argv) {
   Options o;
   if (!Parse(argc, argv, &o)) {
      return Usage();
   }
   const fs::path out(o.out);
   const fs::path stage = out / "autoinst-staging";
   std::error_code ec;
   fs::remove_all(stage, ec);
   fs::create_directories(stage, ec);
   if (ec) {
      std::fprintf(stderr, "trguest: cannot create %s\n", stage.c_str());
      return 2;
   }
   const bool floppy = AutoInstall_NeedsFloppy_Linux(o.guest) != FALSE;
   if (!floppy) {
      // The installer reads the answer file from the CD: it goes to the
      // image's root with whatever else the answer step left beside it.
      std::printf("answer files: %s -> %s\n", o.answers, stage.c_str());
      for (const auto &e : fs::directory_iterator(o.answers, ec)) {
         if (e.is_regular_file()) {
            fs::copy_file(e.path(), stage / e.path().filename(),
                          fs::copy_options::overwrite_existing, ec);
         }
      }
      if (!Step("copying the answer files", !ec)) {
         return 2;
      }
   }
   std::printf("tools: %s\n", o.tools);
   if (!Step("AutoInstall_AddTools_Linux",
             AutoInstall_AddTools_Linux(stage.c_str(), o.tools) != FALSE)) {
      return 2;
   }
   const bool tree = fs::is_directory(o.source, ec);
   std::printf("boot directory: from %s %s\n", tree ? "tree" : "image", o.source);
   std::fflush(stdout);
   bool scanned;
   {
      Progress progress(stage / "isolinux");
      scanned = tree ? AutoInstall_ScanDisk(o.source, stage.c_str(), o.guest, o.loader) != FALSE
                     : AutoInstall_ScanISO(o.source, stage.c_str(), o.guest, o.loader) != FALSE;
   }
   if (!Step(tree ? "AutoInstall_ScanDisk" : "AutoInstall_ScanISO", scanned)) {
      return 2;
   }
   if (floppy) {
      std::printf("floppy: %s\n", (out / "autoinst.flp").c_str());
      if (!Step("AutoInstall_MakeFloppyImg_Linux",
                AutoInstall_MakeFloppyImg_Linux(o.answers, o.out,
                                                o.templates != nullptr ? o.templates : o.answers,
                                                o.guest) != FALSE)) {
         return 2;
      }
   }
   std::printf("master: %s\n", (out / "autoinst.iso").c_str());
   std::fflush(stdout);
   if (!Step("AutoInstall_MasterISO",
             AutoInstall_MasterISO(stage.c_str(), o.mkisofs, o.out) != FALSE)) {
      return 2;
   }
   return 0;
}

}  // namespace trguest_cli
