/*
 * md5.h --
 *
 *    MD5 (RFC 1321) as libmd provides it: MD5Init, MD5Update, MD5Final over
 *    an MD5_CTX. The platform adds nothing; this header only names the
 *    dependency for the platform's users.
 */

#ifndef TRPLATFORM_MD5_H
#define TRPLATFORM_MD5_H

#include <md5.h>

#endif
