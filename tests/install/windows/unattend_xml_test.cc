// unattend_xml_test.cc --
//
//    The unattend XML rewrite: every edit read back from the saved file,
//    per guest kind; templates lacking elements; first-logon numbering; and
//    templates that must not be trusted.

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/guestos.h>

#include "guestInstall/windows/unattendXmlInt.h"
#include "unattend_support.hh"
#include "testsupport.hh"

namespace {

using namespace unattendtest;
using Strings = std::vector<std::string>;

const char kReg[] = "reg add \"HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\" "
                    "/v AutoAdminLogon /t REG_SZ /d 0 /f";
const char kAto[] = "cscript.exe \\windows\\system32\\slmgr.vbs /ato";
const char kSetup[] = "a:\\setup.cmd";
const char kTools[] = "a:\\tools.cmd";

std::string Slmgr(const std::string &rest) {
   return "cscript.exe \\windows\\system32\\slmgr.vbs " + rest;
}

const std::string kCommands = ShellSetup() + "/u:FirstLogonCommands/u:SynchronousCommand/u:CommandLine";
const std::string kOrders = ShellSetup() + "/u:FirstLogonCommands/u:SynchronousCommand/u:Order";
const std::string kActions = ShellSetup() + "/u:FirstLogonCommands/u:SynchronousCommand/@wcm:action";
const std::string kAutoUser = ShellSetup() + "/u:AutoLogon/u:Username";
const std::string kAutoPassword = ShellSetup() + "/u:AutoLogon/u:Password/u:Value";
const std::string kEnabled = ShellSetup() + "/u:AutoLogon/u:Enabled";
const std::string kAccount = ShellSetup() + "/u:UserAccounts/u:LocalAccounts/u:LocalAccount";
const std::string kAccountName = kAccount + "/u:Name";
const std::string kAccountPassword = kAccount + "/u:Password/u:Value";
const std::string kZone = ShellSetup() + "/u:TimeZone";
const std::string kLocales =
   Component("windowsPE", "Microsoft-Windows-International-Core-WinPE") + "/*[not(self::u:SetupUILanguage)]";
const std::string kSetupComponent = Component("windowsPE", "Microsoft-Windows-Setup");
const std::string kImage = kSetupComponent + "/u:ImageInstall/u:OSImage/u:InstallFrom/u:MetaData/u:Value";
const std::string kKey = kSetupComponent + "/u:UserData/u:ProductKey/u:Key";
const std::string kKeyElement = kSetupComponent + "/u:UserData/u:ProductKey/u:WillShowUI";
struct Input {
   const char *guest = "windows7-64";
   int32_t sub = 0;
   const char *key = nullptr;
   const char *kms = nullptr;
   const char *user = nullptr;
   const char *password = nullptr;
   const char *timeZone = nullptr;
   const char *locale = "en-US";
   const char *image = "Windows 7 ULTIMATE";
   bool keepAutoLogon = false;
};

Bool Rewrite(const std::string &path, const Input &in) {
   return RewriteUnattendXml(path.c_str(), in.key, in.kms, in.user, in.password, in.timeZone,
                             GuestOS_GetOSIDByName(in.guest), in.sub, in.locale, in.image,
                             in.keepAutoLogon ? TRUE : FALSE);
}

// Orders of the file's commands are 1, 2, ... and every command is an "add".
void ExpectConsecutiveOrders(const SavedXml &xml) {
   Strings orders = xml.Texts(kOrders);
   for (size_t i = 0; i < orders.size(); i++) {
      EXPECT_EQ(orders[i], std::to_string(i + 1));
   }
   EXPECT_EQ(xml.Texts(kActions), Strings(orders.size(), "add"));
}

struct RewriteCase {
   const char *name;
   Input in;
   std::vector<std::pair<std::string, Strings>> expect;
};

const Strings kAmd64(6, "amd64");
const Strings kX86(6, "x86");

TEST(UnattendXml, RewritePutsEachValueWhereTheGuestReadsIt) {
   const RewriteCase cases[] = {
      {"win7-64, all texts, automatic logon reset, key activated",
       {.key = "AAAAA-BBBBB", .user = "Jane Doe", .password = "pw1",
        .timeZone = "W. Europe Standard Time", .locale = "de-DE"},
       {{kAutoUser, {"Jane Doe"}}, {kAccountName, {"Jane Doe"}}, {kAutoPassword, {"pw1"}},
        {kEnabled, {"true"}}, {kAccountPassword, {"pw1"}}, {kZone, {"W. Europe Standard Time"}},
        {kLocales, Strings(4, "de-DE")}, {"//u:component/@processorArchitecture", kAmd64},
        {kImage, {"Windows 7 ULTIMATE"}}, {kKey, {}}, {kKeyElement, {}},
        {kCommands, {kSetup, kTools, kReg, Slmgr("/ipk AAAAA-BBBBB"), kAto}}}},
      {"win7 32-bit keeps automatic logon and its architecture",
       {.guest = "windows7", .user = "u", .password = "p", .keepAutoLogon = true},
       {{"//u:component/@processorArchitecture", kX86}, {kEnabled, {"true"}}, {kKey, {}},
        {kZone, {"Pacific Standard Time"}}, {kCommands, {kSetup, kTools}}}},
      {"Vista keeps the template's key element; nothing given stays as it was",
       {.guest = "winvista", .key = "K1"},
       {{kKey, {"KEY"}}, {kAutoUser, {"USER"}}, {kAutoPassword, {"PASSWORD"}}, {kEnabled, {"false"}},
        {kCommands, {kSetup, kTools, Slmgr("/ipk K1"), kAto}}}},
      {"Windows 8 client with a key: key written, image choice dropped",
       {.guest = "windows8-64", .key = "K8"},
       {{kKey, {"K8"}}, {kImage, {}}, {kKeyElement, {"OnError"}},
        {kCommands, {kSetup, kTools, Slmgr("/ipk K8"), kAto}}}},
      {"Windows 8 Enterprise media: empty key, image kept, key still activated",
       {.guest = "windows8", .sub = 23, .key = "K8"},
       {{kKey, {""}}, {kImage, {"Windows 7 ULTIMATE"}}, {"//u:component/@processorArchitecture", kX86},
        {kCommands, {kSetup, kTools, Slmgr("/ipk K8"), kAto}}}},
      {"Windows 8 server, evaluation media, key server: only the server is activated",
       {.guest = "windows8srv-64", .sub = 24, .key = "K8", .kms = "kms.example.com:1688"},
       {{kKey, {""}}, {kImage, {"Windows 7 ULTIMATE"}},
        {kCommands, {kSetup, kTools, Slmgr("/skms kms.example.com:1688"), kAto}}}},
      {"Windows 8 server with a key keeps its image choice",
       {.guest = "windows8srv-64", .key = "K8"},
       {{kKey, {"K8"}}, {kImage, {"Windows 7 ULTIMATE"}}, {kCommands, {kSetup, kTools, Slmgr("/ipk K8"), kAto}}}},
      {"markup and non-ASCII texts are stored literally",
       {.user = "A&B <C> M\xc3\xbcller", .password = "p&<\"'>&amp;", .image = "x&y"},
       {{kAutoUser, {"A&B <C> M\xc3\xbcller"}}, {kAccountName, {"A&B <C> M\xc3\xbcller"}},
        {kAutoPassword, {"p&<\"'>&amp;"}}, {kAccountPassword, {"p&<\"'>&amp;"}}, {kImage, {"x&y"}}}},
      {"a key or server that could change the command line gets no command",
       {.key = "K & calc", .password = "p", .keepAutoLogon = true},
       {{kCommands, {kSetup, kTools}}}},
      {"an unsafe key server adds nothing, not even the key",
       {.key = "K1", .kms = "host|calc"},
       {{kCommands, {kSetup, kTools}}}},
   };
   for (const RewriteCase &c : cases) {
      SCOPED_TRACE(c.name);
      trtest::TempDir dir;
      const std::string path = dir.file("autoun~0.xml");
      trtest::WriteFile(path, Template());
      ASSERT_TRUE(Rewrite(path, c.in));
      EXPECT_TRUE(XmllintAccepts(path));
      SavedXml xml(path);
      ASSERT_TRUE(xml.ok());
      for (const auto &[expr, values] : c.expect) {
         EXPECT_EQ(xml.Texts(expr), values) << expr;
      }
      ExpectConsecutiveOrders(xml);
   }
}

TEST(UnattendXml, MissingElementsAreSkippedAndTheRestIsWritten) {
   const Input in{.key = "K1", .user = "u", .password = "p", .timeZone = "Tokyo Standard Time",
                  .locale = "ja-JP"};
   const struct {
      unsigned omit;
      std::vector<std::pair<std::string, Strings>> expect;
   } cases[] = {
      {kAutoLogon, {{kAutoUser, {}}, {kEnabled, {}}, {kAccountName, {"u"}}}},
      {kLocalAccount, {{kAccountName, {}}, {kAutoUser, {"u"}}, {kAutoPassword, {"p"}}}},
      {kTimeZone, {{kZone, {}}, {kLocales, Strings(4, "ja-JP")}}},
      {kInternational, {{kLocales, {}}, {kZone, {"Tokyo Standard Time"}}}},
      {kImageInstall, {{kImage, {}}, {"//u:component/@processorArchitecture", Strings(6, "amd64")}}},
      {kProductKey, {{kKey, {}}, {kImage, {"Windows 7 ULTIMATE"}}}},
      {kSpecialize, {{"//u:component/@processorArchitecture", Strings(3, "amd64")}}},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.omit);
      trtest::TempDir dir;
      const std::string path = dir.file("autoun~0.xml");
      trtest::WriteFile(path, Template(c.omit));
      ASSERT_TRUE(Rewrite(path, in));
      EXPECT_TRUE(XmllintAccepts(path));
      SavedXml xml(path);
      for (const auto &[expr, values] : c.expect) {
         EXPECT_EQ(xml.Texts(expr), values) << expr;
      }
      EXPECT_EQ(xml.Texts(kCommands), (Strings{kSetup, kTools, kReg, Slmgr("/ipk K1"), kAto}));
   }
}

TEST(UnattendXml, AddedCommandFollowsTheLastOrder) {
   const struct {
      const char *lastOrder;
      Strings orders;
   } cases[] = {
      {"", {"1", "", "1"}},
      {"7", {"1", "7", "8"}},
      {"999", {"1", "999", "1000"}},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.lastOrder);
      trtest::TempDir dir;
      const std::string path = dir.file("a.xml");
      trtest::WriteFile(path, Template(0, c.lastOrder));
      xmlDoc *doc = xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET);
      ASSERT_NE(doc, nullptr);
      EXPECT_TRUE(AddFirstLogonCommand(doc, "x & <y>"));
      xmlSaveFile(path.c_str(), doc);
      xmlFreeDoc(doc);
      SavedXml xml(path);
      EXPECT_EQ(xml.Texts(kOrders), c.orders);
      EXPECT_EQ(xml.Texts(kCommands), (Strings{kSetup, kTools, "x & <y>"}));
   }
}

TEST(UnattendXml, TemplateWithoutCommandsIsFineUntilOneIsAdded) {
   trtest::TempDir dir;
   const std::string path = dir.file("autoun~0.xml");
   trtest::WriteFile(path, Template(kFirstLogonCommands));
   EXPECT_TRUE(Rewrite(path, {.user = "u", .password = "p", .keepAutoLogon = true}));
   EXPECT_EQ(SavedXml(path).Texts(kAutoPassword), Strings{"p"});
   EXPECT_DEATH(Rewrite(path, {.password = "p"}),
                "NOT_REACHED lib/guestInstall/autoinstallGuestWindows:1681");
   EXPECT_DEATH(Rewrite(path, {.key = "K1"}),
                "NOT_REACHED lib/guestInstall/autoinstallGuestWindows:1681");
}

TEST(UnattendXml, UntrustedTemplates) {
   trtest::TempDir dir;
   const std::string secret = dir.file("secret.txt");
   trtest::WriteFile(secret, "TOP-SECRET");
   const struct {
      const char *name;
      std::string text;
      Bool result;
   } cases[] = {
      {"not XML", "<unattend><settings>", FALSE},
      {"empty", "", FALSE},
      {"external entity stays a reference",
       "<?xml version=\"1.0\"?>\n<!DOCTYPE unattend [<!ENTITY x SYSTEM \"file://" + secret +
          "\">]>\n" + Template().substr(Template().find("<unattend")),
       TRUE},
      {"nested selections are removed once",
       "<unattend xmlns=\"urn:schemas-microsoft-com:unattend\"><settings pass=\"windowsPE\">"
       "<component name=\"Microsoft-Windows-Setup\"><UserData><ProductKey>"
       "<settings pass=\"windowsPE\"><component name=\"Microsoft-Windows-Setup\"><UserData>"
       "<ProductKey/></UserData></component></settings></ProductKey></UserData></component>"
       "</settings></unattend>",
       TRUE},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.name);
      std::string text = c.text;
      const size_t user = text.find("<Username>USER");
      if (user != std::string::npos) {
         text.replace(user, 14, "<Username>&x;");
      }
      const std::string path = dir.file("autoun~0.xml");
      trtest::WriteFile(path, text);
      EXPECT_EQ(Rewrite(path, {.guest = "windows7", .locale = "en-US"}), c.result);
      const std::string saved = trtest::ReadFile(path);
      EXPECT_EQ(saved.find("TOP-SECRET"), std::string::npos);
      if (!c.result) {
         EXPECT_EQ(saved, text);
      } else {
         EXPECT_EQ(SavedXml(path).Texts("//u:ProductKey"), Strings{});
      }
   }
}

}  // namespace
