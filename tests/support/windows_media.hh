// windows_media.hh --
//
//    Marker files of Windows installation media for tests, laid out as the
//    real media have them: an I386/ or AMD64/ tree with TXTSETUP.SIF and
//    PRODSPEC.INI for NT-era media; a sources/ directory with idwbinfo.txt,
//    lang.ini, product.ini, ei.cfg, install_*.clg entries and
//    background_svr.bmp for Vista-era media. Setup files have CRLF line ends.
//    Only the marker files are there (no binaries).

#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "media_builder.hh"

namespace trtest::win {

// The lines, each ended by a carriage return and a line feed.
inline std::string CrLf(std::initializer_list<std::string> lines) {
   std::string out;
   for (const std::string &l : lines) {
      out += l;
      out += "\r\n";
   }
   return out;
}

// A TXTSETUP.SIF text naming the product under `key` ("wks_id" or
// "srv_id"), with the usual sections around it.
inline std::string TxtSetupSif(const std::string &product, const std::string &key = "wks_id") {
   return CrLf({"[Version]",
                "signature = \"$Windows NT$\"",
                "LayoutInf = layout.inf",
                "",
                "[SetupData]",
                "ProductType = 0",
                "MajorVersion = 5",
                "MinorVersion = 1",
                "DefaultPath=\\WINDOWS",
                "LoadIdentifier = %wks_id%",
                "",
                "[SourceDisksNames.x86]",
                "_1 = %cdname%,%cdtagfile%,,\\i386",
                "",
                "[Strings]",
                "cdname = \"" + product + "\"",
                "cdtagfile = \"\\win51ip\"",
                key + " = \"" + product + "\"",
                "productname = \"Windows\""});
}

// A PRODSPEC.INI text; `localizationLine` is the whole line, such as
// "Localization=English".
inline std::string ProdSpecIni(const std::string &localizationLine) {
   return CrLf({"[SMS Inventory Identification]",
                "Version=1.0",
                "",
                "[Product Specification]",
                "Product=Windows XP Professional",
                "Version=5.0",
                localizationLine,
                "ServicePackNumber=0",
                "BitVersion=40",
                "",
                "[Version]",
                "DriverVer=07/01/2001,5.1.2600.2180"});
}

// NT-era media: `arch` is "I386" or "AMD64".
inline MediaSpec NtMedia(const std::string &product, const std::string &localizationLine,
                         const std::string &arch = "I386", const std::string &key = "wks_id",
                         MediaFormat format = MediaFormat::Joliet) {
   MediaSpec spec;
   spec.format = format;
   spec.volumeId = "WXPFPP_EN";
   spec.files = {
      {arch + "/TXTSETUP.SIF", TxtSetupSif(product, key)},
      {arch + "/PRODSPEC.INI", ProdSpecIni(localizationLine)},
      {arch + "/WINNT32.MSI", "marker"},
      {"WIN51", "\r\n"},
      {"WIN51IP", "\r\n"},
      {"README.HTM", "<html></html>\r\n"},
   };
   return spec;
}

// The Windows XP Professional CD (English).
inline MediaSpec XpProMedia(MediaFormat format = MediaFormat::Joliet) {
   return NtMedia("Windows XP Professional CD-ROM", "Localization=English", "I386", "wks_id",
                  format);
}

inline std::string IdwbInfo(const std::string &branch, const std::string &arch) {
   return CrLf({"[BUILDINFO]",
                "BuildBranch=" + branch,
                "BuildArch=" + arch,
                "BuildType=fre",
                "BuildQFE=16385",
                "BuildTimeStamp=090713-1255",
                "BuildNumber=7600",
                "IDWBGUID={6aa09d0b-6f6e-4d3b-a8bf-4bd9b3c53b8d}"});
}

// A lang.ini text whose "[Available UI Languages]" section holds the lines
// (each "key = value"), followed by the fallback section.
inline std::string LangIni(std::initializer_list<std::string> uiLines) {
   std::string out = "[Available UI Languages]\r\n";
   for (const std::string &l : uiLines) {
      out += l + "\r\n";
   }
   out += "\r\n[Fallback Languages]\r\nen-US = en-us\r\n";
   return out;
}

inline std::string ProductIni(const std::string &type) {
   return CrLf({"[Product]", "Type=" + type, "Name=Windows"});
}

inline std::string ClgFile(const std::string &edition) {
   return "<?xml version=\"1.0\"?>\r\n<CATALOG EDITION=\"" + edition + "\"/>\r\n";
}

struct VistaEraMedia {
   std::string branch = "win7_rtm.090713-1255";
   std::string arch = "amd64";
   std::string type = "Client";                     // product.ini Type; "" for no product.ini
   std::string langIni = LangIni({"en-US = 3"});    // "" for no lang.ini
   std::vector<std::string> editions = {"Windows 7 HOMEBASIC", "Windows 7 HOMEPREMIUM",
                                        "Windows 7 PROFESSIONAL", "Windows 7 STARTER",
                                        "Windows 7 ULTIMATE"};
   std::string eiCfg;                               // "" for no ei.cfg
   bool serverBitmap = false;                       // sources/background_svr.bmp
   std::string idwbInfo;                            // when not empty, replaces IdwbInfo(branch, arch)
   MediaFormat format = MediaFormat::UdfBridge;

   MediaSpec Spec() const {
      MediaSpec spec;
      spec.format = format;
      spec.volumeId = "GRMCULXFRER_EN_DVD";
      spec.files = {
         {"bootmgr", "BOOTMGR"},
         {"boot/bcd", "regf"},
         {"setup.exe", "MZ"},
         {"sources/idwbinfo.txt", idwbInfo.empty() ? IdwbInfo(branch, arch) : idwbInfo},
         {"sources/setup.exe", "MZ"},
      };
      if (!type.empty()) {
         spec.files.push_back({"sources/product.ini", ProductIni(type)});
      }
      if (!langIni.empty()) {
         spec.files.push_back({"sources/lang.ini", langIni});
      }
      for (const std::string &e : editions) {
         spec.files.push_back({"sources/install_" + e + ".clg", ClgFile(e)});
      }
      if (!eiCfg.empty()) {
         spec.files.push_back({"sources/ei.cfg", eiCfg});
      }
      if (serverBitmap) {
         spec.files.push_back({"sources/background_svr.bmp", "BM"});
      }
      return spec;
   }
};

// Windows 7 x64 (English and German UI), as shipped: a UDF bridge image.
inline VistaEraMedia Windows7X64() {
   VistaEraMedia m;
   m.langIni = LangIni({"en-US = 3", "de-DE = 2"});
   return m;
}

inline std::string EiCfg(const std::string &edition, const std::string &channel = "Retail") {
   return CrLf({"[EditionID]", edition, "", "[Channel]", channel, "", "[VL]", "0"});
}

}  // namespace trtest::win
