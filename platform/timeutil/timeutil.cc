// timeutil.cc --
//
//    The host's time zone as Windows names and numbers it. The zone's name
//    (an IANA name such as "Europe/Berlin") is mapped to its Windows name
//    through the CLDR zone mapping that ICU carries, and the Windows name to
//    the numeric index that text-mode Windows setup takes, through the
//    published table of Windows time zone index values.

#include <trplatform/timeutil.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <unicode/ucal.h>
#include <unicode/ustring.h>

#include <trplatform/util.h>

namespace {

struct WindowsZoneIndex {
   int32_t index;
   const char *name;   // the Windows zone's name as CLDR gives it
};

// One row per published index value.
const WindowsZoneIndex kWindowsZoneIndexes[] = {
   {0, "Dateline Standard Time"},
   {1, "Samoa Standard Time"},
   {2, "Hawaiian Standard Time"},
   {3, "Alaskan Standard Time"},
   {4, "Pacific Standard Time"},
   {10, "Mountain Standard Time"},
   {13, "Mountain Standard Time (Mexico)"},
   {15, "US Mountain Standard Time"},
   {20, "Central Standard Time"},
   {25, "Canada Central Standard Time"},
   {30, "Central Standard Time (Mexico)"},
   {33, "Central America Standard Time"},
   {35, "Eastern Standard Time"},
   {40, "US Eastern Standard Time"},
   {45, "SA Pacific Standard Time"},
   {50, "Atlantic Standard Time"},
   {55, "SA Western Standard Time"},
   {56, "Pacific SA Standard Time"},
   {60, "Newfoundland Standard Time"},
   {65, "E. South America Standard Time"},
   {70, "SA Eastern Standard Time"},
   {73, "Greenland Standard Time"},
   {75, "Mid-Atlantic Standard Time"},
   {80, "Azores Standard Time"},
   {83, "Cape Verde Standard Time"},
   {85, "GMT Standard Time"},
   {90, "Greenwich Standard Time"},
   {95, "Central Europe Standard Time"},
   {100, "Central European Standard Time"},
   {105, "Romance Standard Time"},
   {110, "W. Europe Standard Time"},
   {113, "W. Central Africa Standard Time"},
   {115, "E. Europe Standard Time"},
   {120, "Egypt Standard Time"},
   {125, "FLE Standard Time"},
   {130, "GTB Standard Time"},
   {135, "Israel Standard Time"},
   {140, "South Africa Standard Time"},
   {145, "Russian Standard Time"},
   {150, "Arab Standard Time"},
   {155, "E. Africa Standard Time"},
   {158, "Arabic Standard Time"},
   {160, "Iran Standard Time"},
   {165, "Arabian Standard Time"},
   {170, "Caucasus Standard Time"},
   {175, "Afghanistan Standard Time"},
   {180, "Ekaterinburg Standard Time"},
   {185, "West Asia Standard Time"},
   {190, "India Standard Time"},
   {193, "Nepal Standard Time"},
   {195, "Central Asia Standard Time"},
   {200, "Sri Lanka Standard Time"},
   {201, "N. Central Asia Standard Time"},
   {203, "Myanmar Standard Time"},
   {205, "SE Asia Standard Time"},
   {207, "North Asia Standard Time"},
   {210, "China Standard Time"},
   {215, "Singapore Standard Time"},
   {220, "Taipei Standard Time"},
   {225, "W. Australia Standard Time"},
   {227, "North Asia East Standard Time"},
   {230, "Korea Standard Time"},
   {235, "Tokyo Standard Time"},
   {240, "Yakutsk Standard Time"},
   {245, "AUS Central Standard Time"},
   {250, "Cen. Australia Standard Time"},
   {255, "AUS Eastern Standard Time"},
   {260, "E. Australia Standard Time"},
   {265, "Tasmania Standard Time"},
   {270, "Vladivostok Standard Time"},
   {275, "West Pacific Standard Time"},
   {280, "Central Pacific Standard Time"},
   {285, "Fiji Standard Time"},
   {290, "New Zealand Standard Time"},
   {300, "Tonga Standard Time"},
};

int32_t IndexOfWindowsZone(const std::string &name) {
   for (const WindowsZoneIndex &row : kWindowsZoneIndexes) {
      if (name == row.name) {
         return row.index;
      }
   }
   return -1;
}

// The part of a zoneinfo path below its "zoneinfo/" directory (and below
// the "posix/" or "right/" variant trees in it), or the text itself when it
// names no such path.
std::string ZoneFromPath(const std::string &path) {
   static const char kMarker[] = "zoneinfo/";
   size_t at = path.rfind(kMarker);
   if (at == std::string::npos) {
      return path;
   }
   std::string zone = path.substr(at + sizeof kMarker - 1);
   for (const char *variant : {"posix/", "right/"}) {
      if (zone.rfind(variant, 0) == 0) {
         return zone.substr(std::strlen(variant));
      }
   }
   return zone;
}

// The host's IANA zone name; empty when it cannot be told.
std::string HostZoneName() {
   const char *tz = std::getenv("TZ");
   if (tz != nullptr && *tz != '\0') {
      return ZoneFromPath(tz[0] == ':' ? tz + 1 : tz);
   }
   char target[4096];
   ssize_t n = readlink("/etc/localtime", target, sizeof target - 1);
   if (n > 0) {
      target[n] = '\0';
      return ZoneFromPath(target);
   }
   // A copied /etc/localtime carries no name; Debian-style hosts keep it in
   // /etc/timezone.
   std::ifstream file("/etc/timezone");
   std::string line;
   if (file && std::getline(file, line)) {
      while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) {
         line.pop_back();
      }
      return line;
   }
   return std::string();
}

// The zone's Windows name from CLDR's mapping; empty when it has none.
std::string WindowsZoneName(const std::string &zone) {
   // Zone names are ASCII; anything else cannot name a zone.
   if (zone.empty() || zone.size() > 255) {
      return std::string();
   }
   UChar id[256];
   for (size_t i = 0; i < zone.size(); i++) {
      unsigned char c = static_cast<unsigned char>(zone[i]);
      if (c >= 0x80) {
         return std::string();
      }
      id[i] = c;
   }
   UChar windows[128];
   UErrorCode status = U_ZERO_ERROR;
   int32_t length = ucal_getWindowsTimeZoneID(id, static_cast<int32_t>(zone.size()), windows,
                                              static_cast<int32_t>(sizeof windows / sizeof windows[0]),
                                              &status);
   if (U_FAILURE(status) || length <= 0 ||
       length > static_cast<int32_t>(sizeof windows / sizeof windows[0])) {
      return std::string();
   }
   std::string name;
   for (int32_t i = 0; i < length; i++) {
      if (windows[i] >= 0x80) {
         return std::string();
      }
      name.push_back(static_cast<char>(windows[i]));
   }
   return name;
}

}  // namespace

extern "C" {

TRPLATFORM_API int32_t TimeUtil_GetLocalWindowsTimeZoneIndexAndName(char **windowsName) noexcept {
   if (windowsName != nullptr) {
      *windowsName = nullptr;
   }
   try {
      std::string name = WindowsZoneName(HostZoneName());
      if (name.empty()) {
         return -1;
      }
      if (windowsName != nullptr) {
         *windowsName = UtilSafeStrdup0(name.c_str());
      }
      return IndexOfWindowsZone(name);
   } catch (...) {
      return -1;
   }
}

}  // extern "C"
