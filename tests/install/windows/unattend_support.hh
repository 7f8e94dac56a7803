// unattend_support.hh --
//
//    A realistic unattend answer-file template, with parts that can be left
//    out, and reading back what a saved file holds.

#pragma once

#include <string>
#include <vector>

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "testsupport.hh"

namespace unattendtest {

// Parts of the template that a variant may lack.
enum Part : unsigned {
   kAutoLogon = 1u << 0,
   kLocalAccount = 1u << 1,
   kTimeZone = 1u << 2,
   kInternational = 1u << 3,
   kImageInstall = 1u << 4,
   kProductKey = 1u << 5,
   kSpecialize = 1u << 6,
   kFirstLogonCommands = 1u << 7,
};

inline std::string Template(unsigned omit = 0, const char *lastOrder = "2") {
   auto part = [omit](Part p, const std::string &text) { return (omit & p) ? std::string() : text; };
   const std::string attrs =
      " processorArchitecture=\"x86\" publicKeyToken=\"31bf3856ad364e35\" language=\"neutral\""
      " versionScope=\"nonSxS\"";
   return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
          "<unattend xmlns=\"urn:schemas-microsoft-com:unattend\""
          " xmlns:wcm=\"http://schemas.microsoft.com/WMIConfig/2002/State\""
          " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n"
          " <settings pass=\"windowsPE\">\n" +
          part(kInternational,
               "  <component name=\"Microsoft-Windows-International-Core-WinPE\"" + attrs + ">\n"
               "   <SetupUILanguage><UILanguage>en-US</UILanguage></SetupUILanguage>\n"
               "   <InputLocale>en-US</InputLocale><SystemLocale>en-US</SystemLocale>\n"
               "   <UILanguage>en-US</UILanguage><UserLocale>en-US</UserLocale>\n"
               "  </component>\n") +
          "  <component name=\"Microsoft-Windows-Setup\"" + attrs + ">\n" +
          part(kImageInstall,
               "   <ImageInstall><OSImage>\n"
               "    <InstallFrom><MetaData wcm:action=\"add\"><Key>/IMAGE/NAME</Key>"
               "<Value>IMAGE</Value></MetaData></InstallFrom>\n"
               "    <InstallToAvailablePartition>true</InstallToAvailablePartition>\n"
               "   </OSImage></ImageInstall>\n") +
          "   <UserData><AcceptEula>true</AcceptEula>" +
          part(kProductKey, "<ProductKey><Key>KEY</Key><WillShowUI>OnError</WillShowUI></ProductKey>") +
          "</UserData>\n"
          "  </component>\n"
          " </settings>\n" +
          part(kSpecialize,
               " <settings pass=\"specialize\">\n"
               "  <component name=\"Microsoft-Windows-Deployment\"" + attrs + "/>\n"
               "  <component name=\"Microsoft-Windows-Security-Licensing-SLC-UX\"" + attrs +
               "><SkipAutoActivation>true</SkipAutoActivation></component>\n"
               "  <component name=\"Microsoft-Windows-Shell-Setup\"" + attrs +
               "><ComputerName>*</ComputerName></component>\n"
               " </settings>\n") +
          " <settings pass=\"oobeSystem\">\n"
          "  <component name=\"Microsoft-Windows-Shell-Setup\"" + attrs + ">\n" +
          part(kAutoLogon,
               "   <AutoLogon><Password><Value>PASSWORD</Value><PlainText>true</PlainText></Password>"
               "<Enabled>false</Enabled><Username>USER</Username></AutoLogon>\n") +
          part(kFirstLogonCommands,
               "   <FirstLogonCommands>\n"
               "    <SynchronousCommand wcm:action=\"add\"><CommandLine>a:\\setup.cmd</CommandLine>"
               "<Order>1</Order></SynchronousCommand>\n"
               "    <SynchronousCommand wcm:action=\"add\"><CommandLine>a:\\tools.cmd</CommandLine>"
               "<Order>" + std::string(lastOrder) + "</Order></SynchronousCommand>\n"
               "   </FirstLogonCommands>\n") +
          part(kLocalAccount,
               "   <UserAccounts><LocalAccounts><LocalAccount wcm:action=\"add\">"
               "<Password><Value>PASSWORD</Value><PlainText>true</PlainText></Password>"
               "<Name>USER</Name><Group>Administrators</Group></LocalAccount></LocalAccounts>"
               "</UserAccounts>\n") +
          part(kTimeZone, "   <TimeZone>Pacific Standard Time</TimeZone>\n") +
          "  </component>\n"
          " </settings>\n"
          "</unattend>\n";
}

// The saved file, parsed; the texts of the nodes an expression selects
// (prefix "u" for the unattend namespace, "wcm" for its action attribute).
class SavedXml {
public:
   explicit SavedXml(const std::string &path)
      : doc_(xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET)) {}
   ~SavedXml() { xmlFreeDoc(doc_); }
   SavedXml(const SavedXml &) = delete;
   SavedXml &operator=(const SavedXml &) = delete;

   bool ok() const { return doc_ != nullptr; }

   std::vector<std::string> Texts(const std::string &expr) const {
      std::vector<std::string> out;
      if (doc_ == nullptr) {
         return out;
      }
      xmlXPathContext *ctx = xmlXPathNewContext(doc_);
      xmlXPathRegisterNs(ctx, BAD_CAST "u", BAD_CAST "urn:schemas-microsoft-com:unattend");
      xmlXPathRegisterNs(ctx, BAD_CAST "wcm",
                         BAD_CAST "http://schemas.microsoft.com/WMIConfig/2002/State");
      xmlXPathObject *r = xmlXPathEvalExpression(BAD_CAST expr.c_str(), ctx);
      if (r != nullptr && r->nodesetval != nullptr) {
         for (int i = 0; i < r->nodesetval->nodeNr; i++) {
            xmlChar *text = xmlNodeGetContent(r->nodesetval->nodeTab[i]);
            out.emplace_back(text != nullptr ? reinterpret_cast<const char *>(text) : "");
            xmlFree(text);
         }
      }
      xmlXPathFreeObject(r);
      xmlXPathFreeContext(ctx);
      return out;
   }

private:
   xmlDoc *doc_;
};

// The path of the pass's component, as the tests spell it.
inline std::string Component(const char *pass, const char *name) {
   return std::string("//u:settings[@pass='") + pass + "']/u:component[@name='" + name + "']";
}
inline std::string ShellSetup() { return Component("oobeSystem", "Microsoft-Windows-Shell-Setup"); }

// xmllint's verdict on a written file (true when the tool is missing).
inline bool XmllintAccepts(const std::string &path) {
   if (!trtest::HaveTool("xmllint")) {
      return true;
   }
   return trtest::RunCommand({"xmllint", "--noout", "--nonet", path}).exitCode == 0;
}

}  // namespace unattendtest
