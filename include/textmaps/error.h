/**
 * @file error.h
 * @brief The results of the library in words.
 *
 *     int result = map_get_uint16(&settings, "lan.mtu", &mtu);
 *     if (result != 0) {
 *         fprintf(stderr, "lan.mtu: %s\n", textmaps_error_text(result));
 *     }
 */
#ifndef TEXTMAPS_ERROR_H
#define TEXTMAPS_ERROR_H

#include <string.h>

/* C++ has one function for all units of a program, C one for each. */
#ifdef __cplusplus
#define TEXTMAPS_INLINE inline
#else
#define TEXTMAPS_INLINE static inline
#endif

/**
 * Says in words what an operation returned.
 *
 * The words of `strerror` do not fit all of these numbers: 1 is "Operation not permitted" there, and
 * 2 "No such file or directory". They are right for any other number: those come from elsewhere, the
 * conversion of an address or the formatting of a text, and are of <errno.h>.
 *
 * Not for the calls that compare: their numbers are an order.
 *
 * The function is part of the program that includes it, not of the library's binary interface.
 *
 * @return English words that nobody frees, without a newline; for other numbers than those of the
 * table in bucket.h what `strerror` returns, as thread-safe as that is.
 */
TEXTMAPS_INLINE const char *textmaps_error_text(int result)
{
    switch (result) {
    case 0: return "done";
    case 1: return "refused: already there, or at a limit";
    case 2: return "no such key, value or position";
    case 12: return "out of memory";
    case 22: return "unusable argument, or text that is no address";
    case 34: return "not a number of the type, or out of its range";
    default: return strerror(result);
    }
}

#endif
