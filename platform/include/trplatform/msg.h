/*
 * msg.h --
 *
 *    Message catalogue and message queue.
 *
 *    A catalogue text has the form "@&!*@*@(" id ")" default-text, for
 *    example "@&!*@*@(msg.guessGuest.ubuntuServer)Server". It resolves to the
 *    localised text when the catalogue of the current locale defines the id,
 *    else to the default text. A text without the marker is used as it is.
 *
 *    Catalogues are dictionary files, one per language, named
 *    "<language>.trmsg" (for instance "de.trmsg"), each entry an id and its
 *    text: msg.guessGuest.ubuntuServer = "Server". They are looked up in the
 *    directory named by TRGUEST_MSG_DIR when it is set, else in the install
 *    tree's data directory as seen from the directory this library was
 *    loaded from (so that a relocated tree finds its own catalogues), else
 *    in the configured data directory. The language is taken from
 *    TRGUEST_LOCALE, else LC_ALL, LC_MESSAGES, LANG (the part before "_",
 *    "." or "@"); "C", "POSIX" and "en" use the default texts.
 *
 *    The message queue collects error messages (such as a dictionary's
 *    syntax errors) until they are fetched for a log line.
 */

#ifndef TRPLATFORM_MSG_H
#define TRPLATFORM_MSG_H

#include <stdarg.h>
#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

#define MSG_MAGIC "@&!*@*@"

/* Newly allocated localised text of a catalogue text (free()); NULL for NULL. */
TRPLATFORM_API char *Msg_GetString(const char *idFmt) TR_NOEXCEPT;
/* Localises the catalogue format, then formats it with the arguments.
 * Newly allocated (free()). */
TRPLATFORM_API char *Msg_Format(const char *idFmt, ...) TR_NOEXCEPT;
TRPLATFORM_API char *Msg_VFormat(const char *idFmt, va_list args) TR_NOEXCEPT;

/* Adds a message (catalogue text, localised and formatted) to the queue. */
TRPLATFORM_API void Msg_Append(const char *idFmt, ...) TR_NOEXCEPT;
/*
 * The queued messages, joined by "; ", and empties the queue. The text is
 * owned by the platform and stays valid until the next call from the same
 * thread; it is "" when the queue is empty.
 */
TRPLATFORM_API const char *Msg_GetMessagesAndReset(void) TR_NOEXCEPT;
/* Empties the queue. */
TRPLATFORM_API void Msg_Reset(void) TR_NOEXCEPT;

/* Forgets the loaded catalogue, so that a changed locale or directory takes
 * effect on the next lookup (for tests and long-running callers). */
TRPLATFORM_API void Msg_ReloadCatalogue(void) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
