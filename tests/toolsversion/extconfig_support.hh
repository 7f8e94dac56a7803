// extconfig_support.hh --
//
//    A virtual machine directory for the tools-record tests: a configuration
//    file naming an extended configuration file, and the XML of that file
//    rendered as a compact tree so that records compare by structure.

#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include "testsupport.hh"

namespace extconfig_test {

// root(child[attr=value,...](grandchild=text)): elements with their
// attributes sorted by name and their text; whitespace between elements is
// left out. "<unparsable>" when the text is not well-formed.
inline void RenderNode(const xmlNode *node, std::string *out) {
   *out += reinterpret_cast<const char *>(node->name);
   std::vector<std::string> attrs;
   for (const xmlAttr *a = node->properties; a != nullptr; a = a->next) {
      xmlChar *v = xmlGetProp(node, a->name);
      attrs.push_back(std::string(reinterpret_cast<const char *>(a->name)) + "=" +
                      reinterpret_cast<const char *>(v));
      xmlFree(v);
   }
   std::sort(attrs.begin(), attrs.end());
   for (size_t i = 0; i < attrs.size(); i++) {
      *out += (i == 0 ? "[" : ",") + attrs[i] + (i + 1 == attrs.size() ? "]" : "");
   }
   std::string children;
   std::string text;
   for (const xmlNode *c = node->children; c != nullptr; c = c->next) {
      if (c->type == XML_ELEMENT_NODE) {
         children += children.empty() ? "" : ",";
         RenderNode(c, &children);
      } else if (c->type == XML_TEXT_NODE) {
         text += reinterpret_cast<const char *>(c->content);
      }
   }
   if (!children.empty()) {
      *out += "(" + children + ")";
   } else if (text.find_first_not_of(" \t\r\n") != std::string::npos) {
      *out += "=" + text;
   }
}

inline std::string Tree(const std::string &xml) {
   xmlDoc *doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                               XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
   if (doc == nullptr || xmlDocGetRootElement(doc) == nullptr) {
      xmlFreeDoc(doc);
      return "<unparsable>";
   }
   std::string out;
   RenderNode(xmlDocGetRootElement(doc), &out);
   xmlFreeDoc(doc);
   return out;
}

// A directory with vm.trx, whose "extendedConfigFile" names vm.xml.
struct VmDir {
   trtest::TempDir dir;
   std::string config = dir.file("vm.trx");
   std::string xml = dir.file("vm.xml");

   explicit VmDir(const std::string &xmlText = "<root/>") {
      trtest::WriteFile(config, "extendedConfigFile = \"vm.xml\"\n");
      trtest::WriteFile(xml, xmlText);
   }
   std::string XmlText() const { return trtest::ReadFile(xml); }
   std::string XmlTree() const { return Tree(XmlText()); }
};

}  // namespace extconfig_test
