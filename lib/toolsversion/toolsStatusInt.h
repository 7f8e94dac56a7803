// toolsStatusInt.h --
//
//    Internals of the tools status computation reached by the tests.

#pragma once

#include <trguest/toolsversion.h>
#include <trplatform/dictionary.h>
#include <trplatform/dynbuf.h>

#include "toolsManifestInt.h"

#define COMPONENT_BLACKLISTED   0u
#define COMPONENT_TOO_OLD       1u
#define COMPONENT_TOO_NEW       2u
#define COMPONENT_SUPPORTED_OLD 3u
#define COMPONENT_SUPPORTED_NEW 4u
#define COMPONENT_CURRENT       5u
#define COMPONENT_ADDITIONAL    6u
#define COMPONENT_MISSING       7u
#define COMPONENT_NOT_INSTALLED 8u
#define COMPONENT_GONE          9u
#define COMPONENT_STATUS_COUNT  10u

// The word of each ComponentStatus, as the logs print it.
extern const char *const statusWords[COMPONENT_STATUS_COUNT];
// The public status of the overall ComponentStatus (blacklisted to current).
extern const ToolsVersionStatus statusToResult[COMPONENT_CURRENT + 1];

// The status of one component, also stored in record->status.
ComponentStatus ClassifyComponent(ComponentRecord *record) noexcept;
// Compares the guest manifest in guestDictionary (not freed) with the host
// manifest of the virtual machine's tools image and its AVR file.
ToolsVersionStatus ToolsVersionGetStatus(const char *configPath, const char *guestManifestPath,
                                         Dictionary *guestDictionary) noexcept;

// Fills dict from the tools records of the virtual machine's extended
// configuration file. Returns TOOLS_STATUS_UNKNOWN after a log line when
// they cannot be read, the update agent's monolithic status when it decides
// alone, or 0 when dict holds the guest manifest to compare.
ToolsVersionStatus GuestManifestFromExtendedConfig(const char *configPath,
                                                   Dictionary **dict) noexcept;
