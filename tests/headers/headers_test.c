/* Every public header, included and called as a C99 program would. */
#include <stdlib.h>
#include <string.h>

#include "guid/guid.h"
#include "guid/vel_guid.h"
#include "i18n/mab.h"
#include "runtime/cx_os.h"
#include "runtime/cx_printf.h"
#include "runtime/cx_shmem.h"
#include "runtime/cx_stringbuff.h"
#include "runtime/cx_text.h"
#include "runtime/rak.h"

static int convert(void) {
    uc_ch_t* cs = mab_cs_new("UTF-8");
    uint16_t units[4];
    char text[4];

    if (mab_to_ucs2(cs, "abc", -1, units, 4) != 4 || mab_wcslen(units) != 3) return 1;
    if (mab_from_ucs2(cs, units, -1, text, 4) != 4 || strcmp(text, "abc") != 0) return 2;
    return mab_cs_free(cs);
}

static int look_up(void) {
    char name[6];
    char* locale = mab_loc_new("pt-br");
    mab_cat_t* catalog = mab_catopen("none", MAB_CAT_NO_C | MAB_CAT_LC_MESSAGES, locale);

    mab_canonical_lang(locale, name, sizeof name);
    if (strcmp(name, "pt_BR") != 0) return 1;
    if (strcmp(mab_catgets(catalog, 1, 1, "default", NULL), "default") != 0) return 2;
    if (mab_catclose(catalog) != -1) return 3;
    return mab_loc_free(locale);
}

static int run(void) {
    const CxPrintfArg arguments[] = {{CX_ARG_TEXT, {.address = "a=b"}}, {CX_ARG_END, {0}}};
    CxStringBuff buff = {0, 0, NULL};
    CxStringTokIter token;
    CxPropList list = {0, 0, NULL};
    CxFilePath path;
    CxShMem memory;
    char* text;

    if (!CxStringBuffPrintf(NULL, &buff, "%d ", 5)) return 1;
    if (!CxStringBuffPrintfA(NULL, &buff, "%s", arguments)) return 2;
    CxStringTokIterator(&token, CxStringBuffPeekStr(&buff), " ", CX_TOKEN_QUOTES);
    CxStringTokIterNext(&token);
    text = CxStringTokIterGet(&token);
    if (RakStringCmp(text, "a=b") != 0 || !CxPropListPutStr(&list, text, "v")) return 3;
    RakMemoryFree(text);
    CxPropListDiscard(&list);
    CxStringBuffDiscard(&buff);
    if (!CxInitFilePath(&path, "/") || CxFilePathIsDir(&path) != 0) return 4;
    if (CxShMemOpen("", &memory) != CX_SHMEM_NO_KEY) return 5;
    return CxMutexLock(NULL) == CX_SUCCESS;
}

int main(void) {
    guid_record parsed, named;
    unsigned long status = 1;
    char* text = NULL;
    uint8_t guid[16], address[6];
    const char* const form = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";

    guid_from_string(form, &parsed, &status);
    if (status != 0 || parsed.node[5] != 0xc8) return 1;
    guid_to_string(&parsed, &text, &status);
    if (status != 0 || strcmp(text, form) != 0) return 2;
    free(text);
    guid_create_from_name(&named, "www.example.com", 15, &status, parsed);
    if (guid_equal(&parsed, &named, &status) || guid_compare(&parsed, &named, &status) == 0)
        return 3;
    guid_create_nil(&named, &status);
    if (!guid_is_nil(&named, &status) || guid_hash(&named, &status) != 0) return 4;
    guid_get_address(address, &status);
    if (vel_guid_init() != 0 || (status == 0 && vel_guid_generate(guid) != 0)) return 5;
    if (vel_guid_write(NULL) != guid_s_write_failed || vel_guid_read(NULL) != guid_s_not_found)
        return 6;
    if (convert() != 0) return 7;
    if (run() != 0) return 8;
    if (look_up() != 0) return 9;
    return vel_guid_terminate();
}
