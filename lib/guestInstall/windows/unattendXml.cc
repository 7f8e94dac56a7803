// unattendXml.cc --
//
//    Puts the user's data into a copy of the unattend answer file of
//    Windows Vista and newer: every change is an XPath-addressed edit of one
//    element or attribute, and an element the template lacks is skipped.

#include "guestInstall/windows/unattendXmlInt.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <libxml/entities.h>
#include <libxml/parser.h>
#include <libxml/xpathInternals.h>

#include <trplatform/guestos.h>
#include <trplatform/log.h>
#include <trplatform/str.h>

namespace {

// The source path and line that the product's logs know for a template
// without first-logon commands.
const char kModulePath[] = "lib/guestInstall/autoinstallGuestWindows";
constexpr int kNoFirstLogonCommandsLine = 1681;

// Media sub-codes of Windows 8 Enterprise and Enterprise evaluation: their
// setup takes no product key in the answer file.
constexpr int32_t kSubVersionWin8Enterprise = 23;
constexpr int32_t kSubVersionWin8EnterpriseEval = 24;

const char kWindowsPE[] = "windowsPE";
const char kSpecialize[] = "specialize";
const char kOobeSystem[] = "oobeSystem";
const char kShellSetup[] = "Microsoft-Windows-Shell-Setup";
const char kInternationalCore[] = "Microsoft-Windows-International-Core-WinPE";
const char kSetup[] = "Microsoft-Windows-Setup";

const char kResetAutoLogonCommand[] =
   "reg add \"HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\" "
   "/v AutoAdminLogon /t REG_SZ /d 0 /f";
const char kActivateCommand[] = "cscript.exe \\windows\\system32\\slmgr.vbs /ato";

struct XPathObjectFree {
   void operator()(xmlXPathObject *o) const { xmlXPathFreeObject(o); }
};
struct XPathContextFree {
   void operator()(xmlXPathContext *c) const { xmlXPathFreeContext(c); }
};
struct DocFree {
   void operator()(xmlDoc *d) const { xmlFreeDoc(d); }
};
using XPathObject = std::unique_ptr<xmlXPathObject, XPathObjectFree>;
using XPathContext = std::unique_ptr<xmlXPathContext, XPathContextFree>;
using Doc = std::unique_ptr<xmlDoc, DocFree>;

bool Given(const char *text) { return text != nullptr && *text != '\0'; }

// The settings element of the pass, its component of the given name, then rest.
std::string Expr(const char *pass, const char *component, const char *rest = "") {
   return std::string("//urn:settings[@pass='") + pass + "']/urn:component[@name='" + component +
          "']" + rest;
}

XPathContext NewUnattendContext(xmlDoc *doc) {
   XPathContext ctx(xmlXPathNewContext(doc));
   if (ctx != nullptr &&
       xmlXPathRegisterNs(ctx.get(), BAD_CAST "urn", BAD_CAST UNATTEND_XML_NAMESPACE) != 0) {
      ctx.reset();
   }
   return ctx;
}

// The nodes an expression selects; null when evaluation fails, it yields
// no node set, or the set is empty (libxml2 gives either an empty or a
// null set for an expression that selects nothing).
XPathObject SelectNodes(xmlXPathContext *ctx, const std::string &expr) {
   XPathObject result(xmlXPathEvalExpression(BAD_CAST expr.c_str(), ctx));
   if (result == nullptr || result->type != XPATH_NODESET ||
       xmlXPathNodeSetIsEmpty(result->nodesetval)) {
      return nullptr;
   }
   return result;
}

// Activation texts end up in a command line that Windows runs at first
// logon. Product keys and server names (host, optional port, bracketed
// IPv6 address) never need more than these characters; anything else could
// change what the command does, so such a text gets no command.
bool IsPlainCommandArgument(const char *text) {
   for (const char *p = text; *p != '\0'; p++) {
      unsigned char c = static_cast<unsigned char>(*p);
      bool ok = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                std::strchr("-._:[]", c) != nullptr;
      if (!ok) {
         return false;
      }
   }
   return true;
}

// The activation script's command with an option ("/skms", "/ipk") and its
// argument, formatted into a zeroed 256-byte buffer: what does not fit is
// cut.
std::string SlmgrCommand(const char *option, const char *argument) {
   char buf[256] = {};
   Str_Snprintf(buf, sizeof buf, "cscript.exe \\windows\\system32\\slmgr.vbs %s %s", option,
                argument);
   return buf;
}

}  // namespace

Bool SetXPathNodeContent(xmlXPathContext *ctx, const char *expr, const char *text) {
   XPathObject nodes = SelectNodes(ctx, expr);
   if (nodes == nullptr) {
      return FALSE;
   }
   // xmlNodeSetContent reads entity and character references in its
   // argument; escaping first makes the user's text land literally.
   xmlChar *escaped = xmlEncodeEntitiesReentrant(nullptr, BAD_CAST text);
   xmlNodeSetContent(nodes->nodesetval->nodeTab[0], escaped);
   xmlFree(escaped);
   return TRUE;
}

Bool RemoveXPathNodes(xmlXPathContext *ctx, const char *expr) {
   XPathObject nodes = SelectNodes(ctx, expr);
   if (nodes == nullptr) {
      return FALSE;
   }
   // Last first: a selected node may lie inside another selected node
   // (descendants follow their ancestors in document order), and freeing
   // the outer one first would free the inner one with it.
   xmlNodeSet *set = nodes->nodesetval;
   for (int i = set->nodeNr - 1; i >= 0; i--) {
      xmlNode *node = set->nodeTab[i];
      // Namespace nodes in a result are copies owned by the node set.
      if (node->type == XML_NAMESPACE_DECL) {
         continue;
      }
      xmlUnlinkNode(node);
      xmlFreeNode(node);
   }
   return TRUE;
}

Bool SetComponentArchAmd64(xmlXPathContext *ctx, const char *expr) {
   XPathObject nodes = SelectNodes(ctx, expr);
   if (nodes == nullptr) {
      return FALSE;
   }
   xmlNode *node = nodes->nodesetval->nodeTab[0];
   if (node->type != XML_ELEMENT_NODE) {
      return FALSE;
   }
   xmlSetProp(node, BAD_CAST "processorArchitecture", BAD_CAST "amd64");
   return TRUE;
}

Bool AddFirstLogonCommand(xmlDoc *doc, const char *command) {
   XPathContext ctx = NewUnattendContext(doc);
   if (ctx == nullptr) {
      return FALSE;
   }
   XPathObject result(xmlXPathEvalExpression(
      BAD_CAST Expr(kOobeSystem, kShellSetup,
                    "/urn:FirstLogonCommands/urn:SynchronousCommand/urn:Order")
         .c_str(),
      ctx.get()));
   if (result == nullptr || result->type != XPATH_NODESET) {
      return FALSE;
   }
   if (xmlXPathNodeSetIsEmpty(result->nodesetval)) {
      // Every template the product ships runs first-logon commands.
      NOT_REACHED_AT(kModulePath, kNoFirstLogonCommandsLine);
   }
   xmlNodeSet *set = result->nodesetval;
   xmlNode *order = set->nodeTab[set->nodeNr - 1];
   long last = 0;
   if (order->children != nullptr && order->children->content != nullptr) {
      last = std::strtol(reinterpret_cast<const char *>(order->children->content), nullptr, 10);
   }
   if (last >= INT_MAX || last < INT_MIN) {
      last = last < 0 ? INT_MIN : INT_MAX - 1;
   }
   // Orders past 999 are written in full: cutting them would run the
   // command out of turn.
   char number[16];
   Str_Snprintf(number, sizeof number, "%d", static_cast<int>(last) + 1);

   xmlNode *entry = order->parent;
   xmlNode *list = entry != nullptr ? entry->parent : nullptr;
   if (list == nullptr || list->type != XML_ELEMENT_NODE) {
      return FALSE;
   }
   xmlNode *added = xmlNewNode(list->ns, BAD_CAST "SynchronousCommand");
   if (added == nullptr) {
      return FALSE;
   }
   xmlSetProp(added, BAD_CAST "wcm:action", BAD_CAST "add");
   xmlNewTextChild(added, list->ns, BAD_CAST "CommandLine", BAD_CAST command);
   xmlNewChild(added, list->ns, BAD_CAST "Order", BAD_CAST number);
   xmlAddChild(list, added);
   return TRUE;
}

Bool RewriteUnattendXml(const char *path, const char *productKey, const char *kmsServer,
                        const char *userName, const char *password, const char *timeZone,
                        int guestOSId, int32_t subVersion, const char *locale,
                        const char *imageName, Bool keepAutoLogon) {
   xmlInitParser();
   // The template comes from the caller's files but is parsed as untrusted:
   // no entity substitution, no DTD loading, no network, and no messages
   // of the parser's own.
   Doc doc(xmlReadFile(path, nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
   if (doc == nullptr) {
      return FALSE;
   }
   XPathContext ctx = NewUnattendContext(doc.get());
   if (ctx == nullptr) {
      return FALSE;
   }
   xmlXPathContext *c = ctx.get();
   auto set = [c](const char *pass, const char *component, const char *rest, const char *text) {
      SetXPathNodeContent(c, Expr(pass, component, rest).c_str(), text != nullptr ? text : "");
   };

   if (Given(userName)) {
      set(kOobeSystem, kShellSetup, "/urn:AutoLogon/urn:Username", userName);
      set(kOobeSystem, kShellSetup, "/urn:UserAccounts/urn:LocalAccounts/urn:LocalAccount/urn:Name",
          userName);
   }
   if (Given(password)) {
      set(kOobeSystem, kShellSetup, "/urn:AutoLogon/urn:Password/urn:Value", password);
      set(kOobeSystem, kShellSetup, "/urn:AutoLogon/urn:Enabled", "true");
      if (!keepAutoLogon) {
         // Setup logs on once automatically; the command turns that off
         // again at the first logon.
         AddFirstLogonCommand(doc.get(), kResetAutoLogonCommand);
      }
      set(kOobeSystem, kShellSetup,
          "/urn:UserAccounts/urn:LocalAccounts/urn:LocalAccount/urn:Password/urn:Value", password);
   }
   if (Given(timeZone)) {
      set(kOobeSystem, kShellSetup, "/urn:TimeZone", timeZone);
   }
   set(kWindowsPE, kInternationalCore, "/urn:InputLocale", locale);
   set(kWindowsPE, kInternationalCore, "/urn:SystemLocale", locale);
   set(kWindowsPE, kInternationalCore, "/urn:UILanguage", locale);
   set(kWindowsPE, kInternationalCore, "/urn:UserLocale", locale);

   if (GuestOS_Is64Bit(guestOSId)) {
      static const char *const kArchComponents[][2] = {
         {kWindowsPE, kSetup},
         {kWindowsPE, kInternationalCore},
         {kOobeSystem, kShellSetup},
         {kSpecialize, "Microsoft-Windows-Deployment"},
         {kSpecialize, "Microsoft-Windows-Security-Licensing-SLC-UX"},
         {kSpecialize, kShellSetup},
      };
      for (const auto &component : kArchComponents) {
         SetComponentArchAmd64(c, Expr(component[0], component[1]).c_str());
      }
   }
   set(kWindowsPE, kSetup, "/urn:ImageInstall/urn:OSImage/urn:InstallFrom/urn:MetaData/urn:Value",
       imageName);

   bool winEightClient = GuestOS_IsWinEightClient(guestOSId);
   if (winEightClient || GuestOS_IsWinEightServer(guestOSId)) {
      bool noKey = subVersion == kSubVersionWin8Enterprise ||
                   subVersion == kSubVersionWin8EnterpriseEval || !Given(productKey);
      set(kWindowsPE, kSetup, "/urn:UserData/urn:ProductKey/urn:Key", noKey ? "" : productKey);
      if (winEightClient && !noKey) {
         // With a key, Windows 8 setup picks the edition from it.
         RemoveXPathNodes(c, Expr(kWindowsPE, kSetup, "/urn:ImageInstall/urn:OSImage/urn:InstallFrom")
                                .c_str());
      }
   } else if (!GuestOS_IsWinVista(guestOSId)) {
      RemoveXPathNodes(c, Expr(kWindowsPE, kSetup, "/urn:UserData/urn:ProductKey").c_str());
   }

   if (Given(kmsServer)) {
      if (IsPlainCommandArgument(kmsServer)) {
         AddFirstLogonCommand(doc.get(), SlmgrCommand("/skms", kmsServer).c_str());
         AddFirstLogonCommand(doc.get(), kActivateCommand);
      }
   } else if (Given(productKey) && IsPlainCommandArgument(productKey)) {
      AddFirstLogonCommand(doc.get(), SlmgrCommand("/ipk", productKey).c_str());
      AddFirstLogonCommand(doc.get(), kActivateCommand);
   }

   // The save's own outcome is not reported: the caller's result says
   // whether the template could be edited.
   xmlSaveFile(path, doc.get());
   return TRUE;
}
