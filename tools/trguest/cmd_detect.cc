// cmd_detect.cc --
//
//    trguest detect [--json] [--all] IMAGE...: what each installation image
//    installs, as Guess_Guest fills the detection record. With --all, every
//    detector is also run on its own (on a fresh record) to show each family
//    that would claim the image; the chain's order decides which one wins.
//
//    Exit code: the worst Guess_Guest result over the images (0 found, 1 no
//    match, 2 unreadable); 64 for a usage error.

#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include <trguest/guess.h>

#include "cli_support.hh"
#include "commands.hh"
#include "json_out.hh"

namespace trguest_cli {

namespace {

struct NamedDetector {
   const char *name;
   GuessDetector detector;
   bool inChain;  // Guess_MacOS is only ever asked directly
};

// The chain in its order of precedence, then the detector outside it.
constexpr NamedDetector kDetectors[] = {
   {"Guess_WindowsNT", Guess_WindowsNT, true},
   {"Guess_WindowsLegacy", Guess_WindowsLegacy, true},
   {"Guess_WindowsVistaAndNewer", Guess_WindowsVistaAndNewer, true},
   {"Guess_RedHat", Guess_RedHat, true},
   {"Guess_Mandriva", Guess_Mandriva, true},
   {"Guess_Debian", Guess_Debian, true},
   {"Guess_SUSE", Guess_SUSE, true},
   {"Guess_TurboLinux", Guess_TurboLinux, true},
   {"Guess_Solaris", Guess_Solaris, true},
   {"Guess_NetWare", Guess_NetWare, true},
   {"Guess_FreeBSD", Guess_FreeBSD, true},
   {"Guess_Zelt", Guess_Zelt, true},
   {"Guess_Zelti", Guess_Zelti, true},
   {"Guess_MacOS", Guess_MacOS, false},
};

struct Claim {
   const NamedDetector *detector;
   GuessInfo info;
};

// Opens the image as the detection driver does: UDF first, else ISO 9660
// through the best name space the image has.
bool OpenMedia(const char *path, GuessMedia *media) {
   std::memset(media, 0, sizeof *media);
   media->udf = UDF_Open(path);
   if (media->udf != nullptr) {
      media->kind = GUESS_MEDIA_UDF;
      return true;
   }
   uint32_t formats = 0;
   Iso9660_ListFormats(path, &formats);
   if (Iso9660_Open(path, formats, 0, &media->iso) != ISO9660_OK) {
      return false;
   }
   media->kind = GUESS_MEDIA_ISO9660;
   return true;
}

void CloseMedia(GuessMedia *media) {
   if (media->kind == GUESS_MEDIA_UDF) {
      UDF_Close(media->udf);
   } else {
      Iso9660_Close(media->iso);
   }
}

std::vector<Claim> AllClaims(const char *path) {
   std::vector<Claim> claims;
   GuessMedia media;
   if (!OpenMedia(path, &media)) {
      return claims;
   }
   for (const NamedDetector &d : kDetectors) {
      Claim c{&d, {}};
      if (d.detector(&media, &c.info)) {
         claims.push_back(c);
      }
   }
   CloseMedia(&media);
   return claims;
}

// A fixed text field of the record, up to its NUL or its size.
std::string_view Field(const char *field, size_t size) {
   return std::string_view(field, strnlen(field, size));
}

// "a?b?" -> {"a", "b"}: the record's lists end every item with "?".
std::vector<std::string_view> SplitList(std::string_view list) {
   std::vector<std::string_view> items;
   while (!list.empty()) {
      size_t q = list.find('?');
      items.push_back(list.substr(0, q));
      if (q == std::string_view::npos) {
         break;
      }
      list.remove_prefix(q + 1);
   }
   return items;
}

const char *Id(const char *id) {
   return id != nullptr ? id : "-";
}

// One line of the text output: the label, then the text.
void PrintLine(const char *label, std::string_view text) {
   std::printf("%s%.*s\n", label, static_cast<int>(text.size()), text.data());
}

void PrintText(const char *path, int result, const GuessInfo &info,
               const std::vector<Claim> *claims) {
   if (result == GUESS_RESULT_FOUND) {
      std::printf("%s: %s\n", path, info.guestOS);
   } else {
      std::printf("%s: no match\n", path);
   }
   std::printf("  guestOS:       %s\n", Id(info.guestOS));
   std::printf("  guestOS64:     %s\n", Id(info.guestOS64));
   std::printf("  subVersion:    %u (%s)\n", info.subVersion, Guess_GetSubString(info.subVersion));
   PrintLine("  versionString: ", Field(info.versionString, sizeof info.versionString));
   std::printf("  noIsolinuxCfg: %s\n", info.noIsolinuxCfg ? "yes" : "no");
   PrintLine("  language:      ", Field(info.language, sizeof info.language));
   const char *label = "  languages:     ";
   for (std::string_view l : SplitList(Field(info.languages, sizeof info.languages))) {
      PrintLine(label, l);
      label = "                 ";
   }
   label = "  editions:      ";
   for (std::string_view e : SplitList(Field(info.editions, sizeof info.editions))) {
      PrintLine(label, e);
      label = "                 ";
   }
   if (claims != nullptr) {
      label = "  claimed by:    ";
      for (const Claim &c : *claims) {
         std::printf("%s%s -> %s%s\n", label, c.detector->name, Id(c.info.guestOS),
                     c.detector->inChain ? "" : " (not in the chain; asked directly)");
         label = "                 ";
      }
      if (claims->empty()) {
         std::printf("%snone\n", label);
      }
   }
}

void PrintJson(const char *path, int result, const GuessInfo &info,
               const std::vector<Claim> *claims) {
   JsonWriter j;
   j.BeginObject();
   j.Key("image").String(path);
   j.Key("result").Int(result);
   j.Key("guestOS").StringOrNull(info.guestOS);
   j.Key("guestOS64").StringOrNull(info.guestOS64);
   j.Key("subVersion").Int(info.subVersion);
   j.Key("subVersionName").String(Guess_GetSubString(info.subVersion));
   j.Key("versionString").String(Field(info.versionString, sizeof info.versionString));
   j.Key("noIsolinuxCfg").Bool(info.noIsolinuxCfg != FALSE);
   j.Key("language").String(Field(info.language, sizeof info.language));
   j.Key("languages").BeginArray();
   for (std::string_view l : SplitList(Field(info.languages, sizeof info.languages))) {
      j.String(l);
   }
   j.EndArray();
   j.Key("editions").BeginArray();
   for (std::string_view e : SplitList(Field(info.editions, sizeof info.editions))) {
      j.String(e);
   }
   j.EndArray();
   if (claims != nullptr) {
      j.Key("claimedBy").BeginArray();
      for (const Claim &c : *claims) {
         j.BeginObject();
         j.Key("detector").String(c.detector->name);
         j.Key("guestOS").StringOrNull(c.info.guestOS);
         j.Key("inChain").Bool(c.detector->inChain);
         j.EndObject();
      }
      j.EndArray();
   }
   j.EndObject();
   std::printf("%s\n", j.text().c_str());
}

}  // namespace

int RunDetect(int argc, char **argv) {
   bool json = false;
   bool all = false;
   std::vector<const char *> images;
   for (int i = 0; i < argc; i++) {
      if (std::strcmp(argv[i], "--json") == 0) {
         json = true;
      } else if (std::strcmp(argv[i], "--all") == 0) {
         all = true;
      } else if (std::strcmp(argv[i], "--") == 0) {
         for (i++; i < argc; i++) {
            images.push_back(argv[i]);
         }
      } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
         std::fprintf(stderr, "trguest detect: unknown option '%s'\n", argv[i]);
         return 64;
      } else {
         images.push_back(argv[i]);
      }
   }
   if (images.empty()) {
      std::fprintf(stderr, "usage: trguest detect [--json] [--all] IMAGE...\n");
      return 64;
   }

   int worst = GUESS_RESULT_FOUND;
   for (const char *path : images) {
      GuessInfo info;
      int result = Guess_Guest(path, 0, &info);
      if (result > worst) {
         worst = result;
      }
      if (result == GUESS_RESULT_OPEN_FAILED) {
         std::fprintf(stderr, "trguest detect: %s: %s\n", path,
                      WhyUnusable(path, "an ISO 9660 or UDF image").c_str());
         continue;
      }
      std::vector<Claim> claims;
      if (all) {
         claims = AllClaims(path);
      }
      if (json) {
         PrintJson(path, result, info, all ? &claims : nullptr);
      } else {
         PrintText(path, result, info, all ? &claims : nullptr);
      }
   }
   std::fflush(stdout);
   return worst;
}

}  // namespace trguest_cli
