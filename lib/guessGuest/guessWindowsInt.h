// guessWindowsInt.h --
//
//    Internal pieces of the Windows detectors (NT-era and Vista-era media),
//    exposed for the tests and the fuzz targets. The scanner they share,
//    GuessParseKeyValue, is declared in guessInt.h.

#pragma once

#include <trguest/guess.h>

// Guess_WindowsNT's product test: the identifier that the product name in a
// TXTSETUP.SIF text (under "wks_id ", else "srv_id ") gives, or NULL when
// the text names no known product.
const char *GuessWindowsNTProductIdentifier(const char *setupText);

// Guess_WindowsNT's language: copies the first "Localization=" value of a
// PRODSPEC.INI text into info->language (bounded by the field). FALSE, with
// the field untouched, when there is no such line or no value.
Bool GuessWindowsNTLocalization(const char *prodspecText, GuessInfo *info);

// Guess_WindowsVistaAndNewer's languages: walks the "[Available UI Languages]"
// section of a lang.ini text (CRLF line ends), writes info->languages (each
// key followed by "?") unless a value is not an integer, and copies the key
// with the greatest value (the earlier on a tie) into info->language. TRUE
// when it copied a language; FALSE leaves info->language untouched. Both
// copies are bounded by the fields' sizes.
Bool GuessWindowsLangIni(const char *langIni, GuessInfo *info);
