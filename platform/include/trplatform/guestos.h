/*
 * guestos.h --
 *
 *    The product's table of guest operating systems: each identifier text
 *    (such as "windows7-64") with its numeric id. Ids are grouped by family
 *    in fixed ranges:
 *
 *       0x5003-0x5016  Windows (0x5003-0x5006: Windows 95, 98, Me, NT)
 *       0x501A-0x5021, 0x5024-0x5028, 0x503D  Linux
 *       0x5029-0x502A  FreeBSD
 *       0x502B-0x502F  Solaris
 *       0x503A-0x503C  NetWare
 *
 *    Mac OS and the hypervisor's own ids lie outside all of these.
 */

#ifndef TRPLATFORM_GUESTOS_H
#define TRPLATFORM_GUESTOS_H

#include <trguest/trtypes.h>

TR_EXTERN_C_BEGIN

typedef struct GuestOSListEntry {
   const char *name;   /* NULL in the terminating entry */
   int id;
} GuestOSListEntry;

/* Every known identifier, ended by an entry whose name is NULL. */
TRPLATFORM_API extern const GuestOSListEntry guestOSList[];

/* Id of an identifier, compared without regard to ASCII case; -1 when unknown. */
TRPLATFORM_API int GuestOS_GetOSIDByName(const char *name) TR_NOEXCEPT;
/* Identifier text of an id (constant), NULL when unknown. */
TRPLATFORM_API const char *GuestOS_GetNameByID(int id) TR_NOEXCEPT;

/* Predicates over ids; FALSE for unknown ids (-1 included). */
TRPLATFORM_API Bool GuestOS_IsWin(int id) TR_NOEXCEPT;
TRPLATFORM_API Bool GuestOS_IsWinVistaOrHigher(int id) TR_NOEXCEPT;
TRPLATFORM_API Bool GuestOS_IsWinVista(int id) TR_NOEXCEPT;     /* Vista client, 32 and 64 bit */
TRPLATFORM_API Bool GuestOS_IsWin2k(int id) TR_NOEXCEPT;        /* Windows 2000, every edition */
TRPLATFORM_API Bool GuestOS_Is64Bit(int id) TR_NOEXCEPT;
TRPLATFORM_API Bool GuestOS_IsWinEightClient(int id) TR_NOEXCEPT;
TRPLATFORM_API Bool GuestOS_IsWinEightServer(int id) TR_NOEXCEPT;

/* Whether id is one of the ids listed after it; the list ends with 0. */
TRPLATFORM_API Bool Gos_InSet(int id, ...) TR_NOEXCEPT;

TR_EXTERN_C_END

#endif
