/* mab.h — internationalization services: code sets and conversions, locales, message catalogs, wide
 * and multibyte text.
 *
 * Conventions of this header
 *  1. A code set is a uc_ch_t, named by mab_cs_new. Null stands for the process default, which is
 *     taken from the environment by the first call that needs it.
 *  2. Code-set text and UTF-8 are counted in bytes, UCS-2 in 16-bit units of the machine's byte
 *     order; characters above U+FFFF are surrogate pairs there. Lengths are signed: -1 says that
 *     the text is ended by a zero.
 *  3. What has no counterpart in the target is replaced by "?" (0x6F in EBCDIC) and counted; no
 *     conversion fails for it.
 *  4. Nothing is printed or logged. int32_t results are 0 for success unless said otherwise.
 *  5. Set up by one thread before others call: the default code set and the two paths are
 *     process-wide and not locked. One handle serves one thread at a time, as it holds a shift
 *     state; mab_dup_handle gives each thread its own, over one table. Calls for the locale of the
 *     process and for catalogs want a lock of the caller's around them.
 */
#ifndef MAB_H
#define MAB_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct uc_ch_t uc_ch_t;

/* ---- Services and handles ------------------------------------------------------------------ */

/* "MAB Version 2.3" */
extern const char mab_version[16];

/* Takes the default code set from the environment: MAB_CODESET names it ("OS", and when it is unset
 * or empty: the code set of the process locale). Sets the process locale from the environment as
 * setlocale(LC_ALL, "") does. Calls that need the default do this first; a second call does
 * nothing. Always 0: without a table the default passes bytes through. */
int32_t mab_init(void);

/* Ends what mab_init began: the default handle is freed, whoever set it, and the next call that
 * needs a default starts anew. NLSPATH and MABDIR keep their values. */
int32_t mab_uninit(void);

/* A new handle for a code set, or null when no table is found, the name is null or memory runs out.
 * Free it with mab_cs_free. A name keeps its letters and digits only, in upper case, and loses a
 * leading "ORX"; "UTF-8" is built in (mab_cs_free leaves it alone), "INTERNAL37" passes bytes
 * through, "OS", "WIN" and "DOS" mean the code set of the process locale. Tables are looked for in
 * $MABDIR/codeset/, $MABDIR/, $BINDIR/../generic/codeset/ and the current directory. A name with
 * "/" or "\" is a path, taken as it stands below each of these. A normalised name has 127
 * characters at most, a path with its directory 254. */
uc_ch_t* mab_cs_new(const char* name);

/* Frees a handle; null and the built-in ones are left alone. The default, when freed, falls back to
 * passing bytes through. */
int32_t mab_cs_free(uc_ch_t* cs);

/* A handle of one's own over the same table, in the initial shift state and with nothing counted;
 * null when memory runs out. It may outlive the handle that it came from. Free it with mab_cs_free.
 */
uc_ch_t* mab_dup_handle(uc_ch_t* cs);

/* The table image of a code set and its size in bytes, for reading only, as long as a handle holds
 * it; null and 0 for a code set without one. A null size is allowed. */
const void* mab_cs_table(uc_ch_t* cs, uint32_t* size);

/* Makes the handle the default; null: pass-through. The handle stays the caller's, and must live as
 * long as it is the default; the default before it is not freed. */
int32_t mab_set_def_cs(uc_ch_t* cs);
uc_ch_t* mab_get_def_cs(void);

/* The name of a code set as its table has it ("UTF8", "OS" for the built-in ones); never null,
 * lives as long as the handle. */
const char* mab_get_cs_name(uc_ch_t* cs);

/* Puts down the table name of the process locale's code set, as "ISO88591"; sets the process locale
 * as mab_init does. 1 when it does not fit in size bytes (the text is then empty) or out is null.
 */
int32_t mab_os_cs_name(char* out, size_t size);

/* The environment's NLSPATH and MABDIR. Setting copies the value; -1 when memory runs out or it is
 * null. Prepending "p" leaves "p:" and the old value, also when that is empty or unset. */
int32_t mab_set_nlspath(const char* path_list);
int32_t mab_prepend_nlspath(const char* path_list);
const char* mab_get_nlspath(void); /* "" when unset */
int32_t mab_set_dir(const char* directory);
const char* mab_get_dir(void); /* "" when unset */

/* ---- Conversions --------------------------------------------------------------------------- */

/* Convert a whole text between a code set and UTF-8 or UCS-2. The result is what was written:
 * bytes, or units for mab_to_ucs2; size and length are counted alike. With a length of -1 the text
 * ends at its zero, and one is written and counted; otherwise none is. What does not fit is cut off
 * before the character that did not; so is an incomplete character at the end of the text. Text in
 * a code set with shift states starts and ends in the initial state. What of the output lies behind
 * the result is undefined, here and with the calls in pieces. 0 and nothing written for a null
 * buffer, a size of 0 or less, a length below -1. */
int32_t mab_to_utf8(uc_ch_t* cs, const char* in, int32_t length, char* out, int32_t size);
int32_t mab_from_utf8(uc_ch_t* cs, const char* in, int32_t length, char* out, int32_t size);
int32_t mab_to_ucs2(uc_ch_t* cs, const char* in, int32_t length, uint16_t* out, int32_t size);
int32_t mab_from_ucs2(uc_ch_t* cs, const uint16_t* in, int32_t length, char* out, int32_t size);

/* The same for a text in pieces. All four values move on by what was used. Results:
 *   0  all of the text is converted
 *   1  the output is full; the text stands at the first character not converted
 *   2  the text ends inside a character and stands at its first byte: append more, call again
 * A null text (*in) ends it: the shift state is put back, for which the two conversions into the
 * code set may write a byte (1: no room for it yet). A null pointer, a null output and a negative
 * length or room count as nothing there. */
int32_t mab_to_utf8_r(uc_ch_t* cs, const char** in, int32_t* length, char** out, int32_t* room);
int32_t mab_from_utf8_r(uc_ch_t* cs, const char** in, int32_t* length, char** out, int32_t* room);
int32_t mab_to_ucs2_r(uc_ch_t* cs, const char** in, int32_t* length, uint16_t** out, int32_t* room);
int32_t mab_from_ucs2_r(uc_ch_t* cs, const uint16_t** in, int32_t* length, char** out,
                        int32_t* room);

/* The same into a new block, which goes to mab_free; *written is what mab_to_utf8 or mab_from_utf8
 * returns, and a zero follows it that is not counted. Null, and 0 written, when memory runs out,
 * the text is null or the length below 0. */
char* mab_tou_alloc(uc_ch_t* cs, const char* in, int32_t length, int32_t* written);
char* mab_fromu_alloc(uc_ch_t* cs, const char* in, int32_t length, int32_t* written);
void mab_free(void* block);

/* ---- Locales ------------------------------------------------------------------------------- */

/* Names of locales in one form: two letters of language in lower case and, where there is one, "_"
 * and two letters of territory in upper case: "en_us.ISO8859-1" is "en_US", "pt-br" is "pt_BR",
 * "FR" is "fr". A few older names have a form of their own ("japanese" is "ja_JP", "american" is
 * "C"); what is no such name stays as it is ("POSIX", "german"). Letters and digits are those of
 * ASCII. Always 0; a result is cut to size - 1 bytes and ended by a zero; nothing is written with a
 * size of 0 or to null. A null name is an empty one. The name may lie in `out`. */
int32_t mab_canonical_loc(const char* name, char* out, size_t size);

/* The same of the language alone, as message catalogs go by it when there is none for a locale:
 * "fr_CA" is "fr_FR", "en_GB" is "C", "de_DE" is "de", "zh_TW" stays. No result is longer than five
 * bytes: of other names that is the beginning. */
int32_t mab_canonical_lang(const char* name, char* out, size_t size);

/* Sets a category (LC_ALL ...) of the process locale as setlocale(3) does, and returns the name
 * itself; "C" when the system knows no such locale, which is then set. A null name only asks: what
 * is in force, in the system's words, which last until the next call. */
const char* mab_setlocale(int category, const char* name);

/* Puts down the value of LANG, or "C" when it is unset or empty; cut as above. */
int32_t mab_os_lang_name(char* out, size_t size);

/* A locale's canonical name as an object of 32 bytes, so cut to 31; null for null and when memory
 * runs out. It goes to mab_loc_free, which takes null, too, and returns 0. */
char* mab_loc_new(const char* name);
int32_t mab_loc_free(char* locale);

/* ---- Message catalogs ---------------------------------------------------------------------- */

/* An open catalog: a file of texts in UTF-8 under the numbers of a set and of a message (the format
 * is in docs/formats.md). A handle that is closed for good is recognised. */
typedef struct mab_cat_t mab_cat_t;

enum {
    MAB_CAT_LC_MESSAGES = 1,  /* without a locale, LC_ALL and LC_MESSAGES are asked before LANG */
    MAB_CAT_NO_LANGUAGE = 2,  /* do not look under the two letters of the language */
    MAB_CAT_NO_CANONICAL = 4, /* nor under the language's canonical name */
    MAB_CAT_NO_C = 8          /* nor under "C" */
};

/* Opens a catalog; null when none is found, it is no catalog, or memory or descriptors run out. A
 * name with "/" or "\" is the path of its file. Any other is looked for along NLSPATH ("%N.cat"
 * when that is unset or empty): a list of paths with ":" or ";" between them, where a ":" that is
 * an element's second character belongs to it. In an element, %N is the name, %L the locale, %l its
 * language, %t its territory, %c its code set; any other "%" stands for itself, also before another
 * one. Each element is tried with the canonical name of the locale, with its first two letters,
 * with mab_canonical_lang's name and with "C"; the first path at which there is something is the
 * catalog's. The locale is the one given; or, when that is null, the first of the variables that
 * `flags` ask for that is set and not empty; or "C". A try whose locale has more than 31 bytes, or
 * whose path more than 1,023, is left out.
 *
 * Opened catalogs are kept under their path, closed ones, too: opening one again gives the same
 * handle and touches no file. Only regular files are opened, of 64 MiB at most. A file must not
 * change while its catalog is kept: put a new one in its place by rename(2). */
mab_cat_t* mab_catopen(const char* name, uint32_t flags, const char* locale);

/* The text of a message: the default text when the catalog is null or closed for good, or has no
 * such message. Without a code set it is in the default one, that was in force when the set was
 * first used; for "UTF-8" (the handle that mab_cs_new gives) as it is in the file; in any other
 * code set in a place that the next such call for the message uses again. A conversion that takes
 * more than twice the bytes of the text is cut. The text is the catalog's, as long as that is open.
 */
const char* mab_catgets(mab_cat_t* catalog, int32_t set, int32_t message, const char* default_text,
                        uc_ch_t* cs);

/* Closes a catalog, however many times it was opened; it stays usable until ten others, or as many
 * as have been open at once, push it out. -1: null, or not open. */
int32_t mab_catclose(mab_cat_t* catalog);

/* Closes a catalog for good. All others are forgotten: those that are open keep their handles and
 * their texts, but can only be closed by this call, and their paths lead to a new catalog; those
 * that are closed already are closed for good, too. -1: null, or closed for good. */
int32_t mab_catclose_fully(mab_cat_t* catalog);

/* ---- Wide and multibyte text --------------------------------------------------------------- */

/* The calls of this section do what their namesakes of ISO C do, down to the results, the room that
 * they need and who owns what. They differ where it is said. */

/* Texts of 16-bit units ended by a zero; units are compared as unsigned numbers. Where ISO C leaves
 * it open: a null text is read as an empty one, yet compares below every text and equal to null;
 * null in place of a text to search, to copy into or to duplicate, and of `rest`, gives null.
 * mab_wcsstr takes a time linear in both lengths. */
size_t mab_wcslen(const uint16_t* text);
size_t mab_wcsnlen(const uint16_t* text, size_t most);
uint16_t* mab_wcscpy(uint16_t* target, const uint16_t* source);
uint16_t* mab_wcsncpy(uint16_t* target, const uint16_t* source, size_t n);
uint16_t* mab_wcscat(uint16_t* target, const uint16_t* source);
uint16_t* mab_wcsncat(uint16_t* target, const uint16_t* source, size_t n);
int mab_wcscmp(const uint16_t* a, const uint16_t* b);
int mab_wcsncmp(const uint16_t* a, const uint16_t* b, size_t n);
uint16_t* mab_wcschr(const uint16_t* text, uint16_t unit);
uint16_t* mab_wcsrchr(const uint16_t* text, uint16_t unit);
uint16_t* mab_wcsstr(const uint16_t* text, const uint16_t* part);
size_t mab_wcsspn(const uint16_t* text, const uint16_t* set);
size_t mab_wcscspn(const uint16_t* text, const uint16_t* set);
uint16_t* mab_wcspbrk(const uint16_t* text, const uint16_t* set);
uint16_t* mab_wcstok(uint16_t* text, const uint16_t* delimiters, uint16_t** rest);

/* A copy, which goes to mab_free; null when memory runs out or the text is null. */
uint16_t* mab_wcsdup(const uint16_t* text);

/* One character of a code set, in the shift state that the handle is in. The result is its number
 * of bytes, with the shifts before it; mab_mblen and mab_mbtowc give 0 at the NUL, which is one in
 * every shift state. -1, with errno EILSEQ and nothing changed: the n bytes begin no character, or
 * one that has no counterpart or is above U+FFFF; the unit has none or is half a pair. The handle
 * takes on the new shift state, but not where only the length is asked for (mab_mblen, a null
 * unit). A null s puts the initial state back; the result tells whether the code set has shift
 * states. */
enum { MAB_MB_LEN_MAX = 4 }; /* the most bytes that mab_wctomb writes */
int mab_mblen(uc_ch_t* cs, const char* s, size_t n);
int mab_mbtowc(uc_ch_t* cs, uint16_t* unit, const char* s, size_t n);
int mab_wctomb(uc_ch_t* cs, char* s, uint16_t unit);

/* A whole text, up to its zero; n is the room, in units or bytes. Text starts in the initial shift
 * state, and ends in it where it is not cut off. The result is what was written, less the zero,
 * which is written when there is room for it; surrogate pairs and characters stay whole. A null
 * output only counts. (size_t)-1, with errno EILSEQ: the text has a character without counterpart,
 * or no character; the output is undefined then. The handle stays as it is, and its count of
 * substitutions, too. A null text is an empty one. */
size_t mab_mbstowcs(uc_ch_t* cs, uint16_t* out, const char* s, size_t n);
size_t mab_wcstombs(uc_ch_t* cs, char* s, const uint16_t* text, size_t n);

/* Time as text and back, in the words of the process locale; mab_strptime is that of POSIX. 0 or
 * null also when a pointer is null. */
struct tm;
size_t mab_strftime(char* s, size_t max, const char* format, const struct tm* tm);
char* mab_strptime(const char* s, const char* format, struct tm* tm);

#ifdef __cplusplus
}
#endif

#endif
