/* Every public header, included and called as a C99 program would. */
#include <stdlib.h>
#include <string.h>

#include "guid/guid.h"
#include "guid/vel_guid.h"
#include "i18n/mab.h"
#include "log/pmx.h"
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

/* Null in every place of every call of the toolkit: nothing happens, and the answer is 0 or null.
 * Each function below tells whether there was another answer. */
#define MAP(Map)                                                                                   \
    (Pmx##Map##Put(0, 0, 0) || Pmx##Map##Get(0, 0) || Pmx##Map##HasKey(0, 0) || PmxCopy##Map(0) || \
     Pmx##Map##Iterator(0) || Pmx##Map##IterHasNext(0) || Pmx##Map##IterGetKey(0) ||               \
     Pmx##Map##IterGetVal(0) || Pmx##Map##IterNext(0) ||                                           \
     (Pmx##Map##Rem(0, 0), PmxFree##Map(0), 0))
#define CHAIN(Chain, Add)                                                               \
    (Pmx##Chain##Iterator(0) || Pmx##Chain##IterHasNext(0) || Pmx##Chain##IterGet(0) || \
     Pmx##Chain##IterNext(0) || Pmx##Chain##IterRem(0) || Pmx##Chain##GetLink(0, 0) ||  \
     Pmx##Chain##Add(0, 0) || (PmxFree##Chain(0), 0))
#define LIST(List)                                                                   \
    (CHAIN(List, Append) || Pmx##List##GetIndex(0, 0) || Pmx##List##RemLink(0, 0) || \
     PmxCopy##List(0) || (PmxSort##List(0, 0), 0))
#define TYPED(of)                                                          \
    (of##Prop(0, 0, 0) || of##PropBool(0, 0, 0) || of##PropInt(0, 0, 0) || \
     of##PropLong(0, 0, 0) || of##PropFloat(0, 0, 0) != 0 || of##PropDouble(0, 0, 0) != 0)
#define PAIR(of, Name) (of##Set##Name(0, 0), of##Get##Name(0) != 0)
/* The calls that have a twin for those who hold the lock. */
#define CAPTURE(of)                                                                               \
    (PAIR(of##FFDCTriggerHandler, BaseDir) || PAIR(of##FFDCTriggerHandler, MaxDisk) ||            \
     PAIR(of##FFDCTriggerHandler, Filter) || PAIR(of##FFDCTriggerHandler, FilterName) ||          \
     PAIR(of##FFDCTriggerHandler, Interval) || PAIR(of##FFDCTriggerHandler, QuotaPolicy) ||       \
     PAIR(of##FFDCTriggerHandler, FirstWarning) || PAIR(of##FFDCTriggerHandler, SecondWarning) || \
     PAIR(of##FileCopyHandler, Files) || PAIR(of##FileCopyHandler, ZipFile) ||                    \
     PAIR(of##FileCopyHandler, ZipCmdPath))
#define OBJECT(of)                                                                         \
    (of##ReleaseObject(0), of##SetObjectEnabled(0, 1), of##HandlerSetFormatter(0, 0),      \
     of##GetObject(0, 0) || of##AcquireObject(0) || of##GetObjectName(0) ||                \
         of##IsObjectEnabled(0) || TYPED(of##GetObj) || of##SetObjProp(0, 0, 0) ||         \
         of##AddListener(0, 0) || of##RemListener(0, 0) || of##IsLoggableByFilter(0, 0) || \
         of##HandlerGetFormatter(0) || of##HandlerGetFmtHeader(0) ||                       \
         of##HandlerGetFmtTrailer(0) || of##HandlerDoFmt(0, 0))
#define EVENT(of)                                                                    \
    (of##SetEventMessageId(0, 0), of##SetEventLocale(0, 0),                          \
     of##GetEventTime(0) || of##GetEventLevel(0) || of##GetEventMessageId(0) ||      \
         of##GetEventLocale(0) || of##GetEventIsMessage(0) || TYPED(of##GetEvent) || \
         of##SetEventProp(0, 0, 0) || of##BindEventMsg(0, 0) || of##BindI18Msg(0))
#define LOG(call) (call(0, 0, 0, 0, 0, PMX_END), call##VA(0, 0, 0, 0, 0, arguments))

static int collect_nulls(void) {
    return MAP(StringToStringMap) || MAP(StringToObjMap) || MAP(StringToObjCfgMap) ||
           MAP(StringToObjClassMap) || CHAIN(StringGroup, Add) || PmxStringGroupRem(0, 0) ||
           CHAIN(ListenerGroup, Add) || PmxListenerGroupRem(0, 0) || LIST(StringList) ||
           LIST(ParmList) || TYPED(PmxGetMap) || TYPED(PmxSetMap) || PmxGetMapPropChar(0, 0, 0) ||
           PmxSetMapPropChar(0, 0, 'a') || PmxCopyParm(0) || !PmxCmpParms(0, 0) ||
           PmxStrTokIterator(0, 0).text || PmxStrTokIterHasNext(0, 0) || PmxStrTokIterGet(0, 0) ||
           PmxStrTokIterNext(0, 0);
}

static int manage_nulls(void) {
    PmxAddLoggerClass(0, 0, 0, 0, 0, 0), PmxAddFilterClass(0, 0, 0, 0, 0, 0, 0, 0);
    PmxAddHandlerClass(0, 0, 0, 0, 0, 0, 0, 0), PmxAddFormatterClass(0, 0, 0, 0, 0, 0, 0, 0, 0);
    PmxReleaseObjCfg(0), PmxObjCfgSetFromFile(0, 1), PmxObjCfgSetParent(0, 0);
    return OBJECT(Pmx) || CAPTURE(Pmx) || PmxGetObjectDesc(0) || PmxGetListeners(0) ||
           TYPED(PmxSetObj) || TYPED(PmxGetObjCfg) || TYPED(PmxSetObjCfg) || PmxAllocObjCfg(0) ||
           PmxAcquireObjCfg(0) || PmxObjCfgGetName(0) || PmxObjCfgIsFromFile(0) ||
           PmxObjCfgGetParent(0) || PmxObjCfgAddChild(0, 0) || PmxObjCfgRemChild(0, 0) ||
           PmxObjCfgChildrenNames(0) || PmxObjCfgProperties(0) ||
           PmxGetInheritedObjCfgProp(0, 0, 0) || PmxLogMgrHasCfg(0) || PmxLogMgrGetCfg(0) ||
           PmxLogMgrAddCfg(0) || PmxLogMgrRemCfg(0) || PmxLogMgrUpdateCfg(0) ||
           PmxLogMgrApplyCfg(0, 0) || PmxLogMgrReadProps(0);
}

static int log_nulls(int ignored, ...) {
    va_list arguments;

    va_start(arguments, ignored);
    LOG(PmxLogFatal), LOG(PmxLogError), LOG(PmxLogWarn), LOG(PmxLogInfo), LOG(PmxLogMsg);
    LOG(PmxLogDebugMax), LOG(PmxLogDebugMid), LOG(PmxLogDebugMin);
    PmxLogText(0, 0, PMX_END), PmxLogTextVA(0, 0, arguments);
    PmxFreeEvent(PmxVaAllocEvent(0, 0, 0, 0, 0, arguments));
    va_end(arguments);
    PmxFreeEvent(0), PmxFreeI18Msg(0);
    PmxSetEventIsMessage(0, 1), PmxReportPlatformErr(0), PmxFreeParm(0);
    return PmxIsLoggable(0, PMX_FATAL) || PmxGetLevelFromString(0) != PMX_NO_LEVEL || EVENT(Pmx) ||
           TYPED(PmxSetEvent) || PmxCopyI18Msg(0) || PmxSetI18MsgCat(0, 0) ||
           PmxSetI18MsgSet(0, 0) || PmxSetI18MsgKey(0, 0) || PmxSetI18MsgTxt(0, 0) ||
           PmxSetI18MsgLocale(0, 0) || PmxAddI18MsgParmString(0, 0) || PmxAddI18MsgParmInt(0, 0) ||
           PmxAddI18MsgParmLong(0, 0) || PmxAddI18MsgParmFloat(0, 0) ||
           PmxAddI18MsgParmDouble(0, 0) || PmxAddI18MsgParmChar(0, 'a') ||
           PmxAddI18MsgParmBool(0, 1) || PmxAprintf(0, 0) || PmxPrintText(0, 0) ||
           PmxText1047ToUTF8(0, 0) || PmxText37ToUTF8(0, 0) || PmxTextUTF8To1047(0) ||
           PmxTextUTF8To37(0) || PmxGetCodeSet1047() || PmxGetCodeSet37();
}

static int operate_on_nulls(void) {
    PmxBasicObjectFCfgChange(0, 0), PmxBasicObjectFLog(0, 0), PmxBasicLoggerFCfgChange(0, 0);
    PmxLevelFilterFCfgChange(0, 0), PmxBasicFilterFProcess(0, 0, 0);
    PmxMsgIdFilterFFreeVars(0), PmxMsgIdFilterFCfgChange(0, 0);
    PmxBasicHandlerFCfgChange(0, 0), PmxBasicHandlerFProcess(0, 0, 0), PmxBasicHandlerFOpen(0);
    PmxBasicHandlerFClose(0), PmxConsoleHandlerFFreeVars(0), PmxConsoleHandlerFOpen(0);
    PmxConsoleHandlerFProcess(0, 0, 0), PmxStderrHandlerFProcess(0, 0, 0);
    PmxConsoleHandlerFClose(0), PmxFileHandlerFFreeVars(0), PmxFileHandlerFCfgChange(0, 0);
    PmxFileHandlerFOpen(0), PmxFileHandlerFProcess(0, 0, 0), PmxFileHandlerFClose(0);
    PmxHVNHandlerFFreeVars(0), PmxHVNHandlerFCfgChange(0, 0), PmxHVNHandlerFOpen(0);
    PmxHVNHandlerFProcess(0, 0, 0), PmxHVNHandlerFClose(0);
    PmxMultiProcFileHandlerFOpen(0), PmxMultiProcFileHandlerFProcess(0, 0, 0);
    PmxMultiProcFileHandlerFClose(0);
    PmxBasicFormatterFCfgChange(0, 0);
    PmxPDLoggerFFreeVars(0), PmxPDLoggerFCfgChange(0, 0), PmxPDLoggerFLog(0, 0);
    PmxPDXMLFormatterFFreeVars(0), PmxPDXMLFormatterFCfgChange(0, 0);
    PmxFFDCTriggerHandlerFFreeVars(0), PmxFFDCTriggerHandlerFCfgChange(0, 0);
    PmxFFDCTriggerHandlerFOpen(0), PmxFFDCTriggerHandlerFClose(0);
    PmxFileCopyHandlerFFreeVars(0), PmxFileCopyHandlerFCfgChange(0, 0);
    PmxFileCopyHandlerFProcess(0, 0, 0);
    return PmxLevelFilterFIsLoggable(0, 0) || PmxMsgIdFilterFIsLoggable(0, 0) ||
           PmxMsgIdFilterGetStringList(0) || PmxMsgIdFilterMatchMsgId(0, 0) ||
           PmxPatternMatch(0, 0) || PmxVelTraceFormatterFFormat(0, 0) ||
           PmxBasicFormatterFFormat(0, 0) || PmxBasicFormatterFGetHeader(0) ||
           PmxBasicFormatterFGetTrailer(0) || PmxPDXMLFormatterFFormat(0, 0) ||
           PmxPDXMLFormatterFGetHeader(0) || PmxPDXMLFormatterFGetTrailer(0) ||
           pmxIntlGetObjVars(0) || OBJECT(pmxIntl) || EVENT(pmxIntl) || CAPTURE(pmxIntl);
}

static int wrong_in_operation = -1;

/* Runs with the lock held: a call that takes it answers null, its twin does not. */
static void process(PmxObject* handler, PmxEvent* event, uint32_t kind) {
    PmxObject* const twin = pmxIntlGetObject("handler", NULL);

    wrong_in_operation = operate_on_nulls() || kind != PMX_HANDLER || event == NULL ||
                         twin != handler || PmxGetObject("handler", NULL) != NULL;
    pmxIntlReleaseObject(twin);
}

static int log_it(void) {
    if (collect_nulls() || manage_nulls() || log_nulls(0, PMX_END)) return 1;
    PmxCloseToolkit();
    if (PmxIsToolkitOpen() || !PmxLoadAdditionalProperties(NULL) || !PmxIsToolkitOpen()) return 2;
    if (!PmxOpenToolkit(NULL) || manage_nulls() || log_nulls(0, PMX_END)) return 3;
    PmxAddHandlerClass("class", NULL, NULL, NULL, PmxBasicHandlerFCfgChange, process, NULL, NULL);
    PmxObject* const logger = PmxGetObject("logger", "pmx_basiclogger");
    if (!PmxAddListener(logger, PmxGetObject("handler", "class"))) return 4;
    PmxSetObjProp(PmxGetObject("pmxlog.errorLogger", NULL), "logging", "off"); /* not to print */
    PmxLogText(logger, "text", PMX_END);
    PmxCloseToolkit();
    return wrong_in_operation;
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
    if (log_it() != 0) return 10;
    return vel_guid_terminate();
}
