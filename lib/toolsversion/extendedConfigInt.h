/*
 * extendedConfigInt.h --
 *
 *    Internal helpers for the virtual machine's extended XML configuration
 *    file, shared by the tools records and the status computation: where the
 *    file is, reading it whole, the one-time libxml2 start-up check, and
 *    parsing XML that may come from inside the guest.
 */

#ifndef TOOLSVERSION_EXTENDEDCONFIGINT_H
#define TOOLSVERSION_EXTENDEDCONFIGINT_H

#include <stddef.h>

#include <string>
#include <unordered_map>

#include <libxml/tree.h>

#include <trguest/trtypes.h>

/*
 * The extended configuration file named by the entry "extendedConfigFile"
 * of the configuration file at configPath, taken relative to configPath's
 * directory. Newly allocated (free()); NULL, after a log line, when the
 * configuration file cannot be loaded or lacks the entry.
 */
char *GetExtendedConfigPath(const char *configPath);

/*
 * Reads the file at path whole: *buffer receives size bytes followed by a
 * NUL (free()). Files of 2^31 bytes or more are refused. FALSE, after a log
 * line, on any failure; the outputs are then untouched.
 */
Bool ReadExtendedConfig(const char *path, char **buffer, size_t *size);

/*
 * Runs before every XML parse: the first caller in the process (decided by
 * an atomic exchange on a process-wide flag) checks that the libxml2 loaded
 * is 2.6.26 or newer.
 */
void ToolsVersionXmlInitOnce(void);

/*
 * Parses size bytes of XML after the start-up check, without entity
 * substitution, DTD loading or network access, and without libxml2's own
 * error output. NULL when the text is not well-formed. With refuseDtd, a
 * document carrying a document type declaration is refused as well: text
 * from inside the guest has no use for one, and refusing it keeps entity
 * expansion (external entities, nested expansion) out entirely.
 */
xmlDoc *ToolsVersionParseXml(const char *text, size_t size, bool refuseDtd);

/*
 * The common start of the operations on the tools records: finds, reads and
 * parses the extended configuration file of configPath. Each failure logs
 * its line and leaves ok() false. The document is freed with the object.
 */
class ExtendedConfigDoc {
public:
   explicit ExtendedConfigDoc(const char *configPath);
   ~ExtendedConfigDoc();
   ExtendedConfigDoc(const ExtendedConfigDoc &) = delete;
   ExtendedConfigDoc &operator=(const ExtendedConfigDoc &) = delete;

   bool ok() const { return root_ != nullptr; }
   const char *path() const { return path_; }
   xmlDoc *doc() const { return doc_; }
   xmlNode *root() const { return root_; }

private:
   char *path_ = nullptr;
   xmlDoc *doc_ = nullptr;
   xmlNode *root_ = nullptr;
};

/* Whether node is an element whose name equals name, ignoring ASCII case. */
bool ToolsXmlIsElement(const xmlNode *node, const char *name);
/* The first or the last child element of parent named name (ignoring ASCII
 * case), or NULL. */
xmlNode *ToolsXmlFirstChild(const xmlNode *parent, const char *name);
xmlNode *ToolsXmlLastChild(const xmlNode *parent, const char *name);

/*
 * Decimal text of an element or attribute (NULL reads as 0), read like
 * strtol with a 32-bit long: numbers beyond the int32 range stop at its
 * bounds instead of wrapping into some other, valid-looking value.
 */
int32_t ToolsXmlTextToInt32(const xmlChar *text);

/*
 * A new, empty "tools-manifest" element being filled from a guest manifest,
 * with its component elements by name (a manifest may name up to the
 * dictionary's entry limit of components; looking each up by walking the
 * children would take quadratic time).
 */
struct ToolsManifestElement {
   xmlNode *element;
   std::unordered_map<std::string, xmlNode *> components;
   bool notUtf8;  // a value was not UTF-8 and could not be written
};

/*
 * The Dictionary_Iterate callback that turns one entry of a guest manifest
 * into the element of parentElement (a ToolsManifestElement):
 * "<component>.version" and "<component>.installed" become the attributes
 * "version" and "installed" of the child element named after the component
 * (created on first sight); other suffixes only create the element;
 * ".encoding" and names without "." are skipped.
 */
void AddManifestXmlEntry(const char *name, const char *value, void *extra, void *parentElement);

#endif
