// media_builder.cc --
//
//    Test media built with xorriso and genisoimage (see media_builder.hh).

#include "media_builder.hh"

#include <gtest/gtest.h>

#include <filesystem>

namespace trtest {

namespace fs = std::filesystem;

bool CanBuild(MediaFormat format) {
   return format == MediaFormat::UdfBridge ? HaveTool("genisoimage") : HaveTool("xorriso");
}

std::string BuildImage(const TempDir &dir, const MediaSpec &spec, const std::string &name) {
   std::string stage = dir.file("stage-" + name);
   std::error_code ec;
   fs::remove_all(stage, ec);
   fs::create_directories(stage);
   for (const std::string &d : spec.dirs) {
      fs::create_directories(stage + "/" + d);
   }
   for (const MediaFile &f : spec.files) {
      WriteFile(stage + "/" + f.path, f.contents);
   }
   std::string out = dir.file(name);
   std::vector<std::string> cmd;
   if (spec.format == MediaFormat::UdfBridge) {
      cmd = {"genisoimage", "-quiet", "-input-charset", "utf-8", "-udf", "-J", "-joliet-long",
             "-iso-level", "3",
             "-V", spec.volumeId, "-o", out, stage};
   } else {
      // Names are UTF-8 whatever the locale the tests run in.
      cmd = {"xorriso", "-as", "mkisofs", "-quiet", "-input-charset", "utf-8", "-output-charset",
             "utf-8", "-iso-level", "3", "-V", spec.volumeId};
      // xorriso writes Rock Ridge unless told not to.
      cmd.push_back(spec.format == MediaFormat::RockRidge ||
                          spec.format == MediaFormat::JolietRockRidge
                       ? "-R"
                       : "--norock");
      if (spec.format == MediaFormat::Joliet || spec.format == MediaFormat::JolietRockRidge) {
         cmd.push_back("-J");
         cmd.push_back("-joliet-long");
      }
      cmd.insert(cmd.end(), {"-o", out, stage});
   }
   CommandResult r = RunCommand(cmd);
   if (r.exitCode != 0) {
      ADD_FAILURE() << cmd[0] << " failed: " << r.output;
      return "";
   }
   fs::remove_all(stage, ec);
   return out;
}

}  // namespace trtest
