// windowsNames.h --
//
//    Internal interface of the Windows edition names: the composition of a
//    readable name from (token, catalogue text) tables, so that tests can
//    run it over tables of their own.

#pragma once

// One (token, catalogue text) pair; a table ends with a pair of nulls.
struct WindowsNameRow {
   const char *token;
   const char *text;
};

// The readable name of a raw edition name ("Windows 7 PROFESSIONALN"):
// the product name looked up in `products` (a row matches when its token
// begins with the raw product name), the edition part walked through
// `editions` (every token it begins with replaces the edition text found
// before, its rest looked up exactly in `suffixes`; an exact token ends the
// walk). A copy of raw when no edition matches; NULL for NULL. Newly
// allocated.
char *ComposeWindowsEditionName(const char *raw, const WindowsNameRow *products,
                                const WindowsNameRow *editions, const WindowsNameRow *suffixes);
