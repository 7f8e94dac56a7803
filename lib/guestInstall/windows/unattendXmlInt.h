// unattendXmlInt.h --
//
//    Internal interface of the unattend XML editing: the XPath edits and the
//    whole rewrite of a copied unattend answer file, reached by the Windows
//    answer-file preparation and by tests.

#pragma once

#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <trguest/trtypes.h>

// The namespace of the unattend schema, registered under the prefix "urn"
// in every XPath context of these edits.
#define UNATTEND_XML_NAMESPACE "urn:schemas-microsoft-com:unattend"

// Replaces the text of the first node the expression selects with text,
// stored literally. FALSE when the expression fails or selects nothing.
Bool SetXPathNodeContent(xmlXPathContext *ctx, const char *expr, const char *text);
// Unlinks and frees every node the expression selects. FALSE when nothing
// is selected.
Bool RemoveXPathNodes(xmlXPathContext *ctx, const char *expr);
// Sets processorArchitecture="amd64" on the first node the expression
// selects. FALSE when nothing is selected.
Bool SetComponentArchAmd64(xmlXPathContext *ctx, const char *expr);
// Appends a first-logon command numbered one above the document's last
// Order. FALSE when no context can be made or the numbers cannot be
// queried; stops the process when the document holds no Order at all.
Bool AddFirstLogonCommand(xmlDoc *doc, const char *command);

// Parses the file at path, puts the user's data into it and saves it in
// place. Texts are UTF-8; NULL or empty counts as not given. guestOSId is
// the guest OS table's id number, subVersion the media's GuessVersion.
// FALSE when the file cannot be parsed or no XPath context can be made.
Bool RewriteUnattendXml(const char *path, const char *productKey, const char *kmsServer,
                        const char *userName, const char *password, const char *timeZone,
                        int guestOSId, int32_t subVersion, const char *locale,
                        const char *imageName, Bool keepAutoLogon);
