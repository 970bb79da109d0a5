// The XML formatter, and the logger that gives events what it writes.
#include "log/event.h"
#include "log/message_id.h"
#include "runtime/cx_os.h"
#include "tests/log/toolkit_fixture.h"
#include "tests/support/failing_allocation.h"

static const char* host_name = "host.org";  // null: there is none

extern "C" int __wrap_gethostname(char* name, size_t size) {
    return host_name == nullptr ? -1 : (snprintf(name, size, "%s", host_name), 0);
}

static PmxEvent* of_catalog(const char* catalog, PmxEvent* event) {
    PmxSetEventIsMessage(event, catalog != nullptr);
    PmxSetI18MsgCat(event->message, catalog);
    PmxSetI18MsgSet(event->message, 3);
    PmxSetI18MsgKey(event->message, 7);
    return event;
}

static PmxEvent* make_full_event(const char* catalog) {
    PmxEvent* const event =
        of_catalog(catalog, make_event(PMX_FATAL, "ABC123I <%s>", PMX_STRING, "]]>", PMX_LONG,
                                       INT64_MIN, PMX_INT, 0, PMX_DOUBLE, 1.5, PMX_CHAR, 'c',
                                       PMX_BOOL, 1, PMX_BOOL, 0, PMX_END));
    set_pairs(event, PmxSetEventProp,
              "processId -4 threadId -1 correlationId corr organization org client cl server host "
              "serverFormat IP own <& product prod component comp productInstance inst "
              "pmx_prop_srcfile f.c pmx_prop_srcline 0 pmx_prop_srcfunction g");
    return event;
}

static std::string time_element() {
    const std::string date = taken(PmxBasicFormatterFormatDate(nullptr, 1'704'204'189'045));
    return " <Time Millis=\"1704204189045\">" + date + "</Time>\n";
}
static const std::string kServer = " <Server Format=\"IP\">host</Server>\n";
static const std::string kProduct = " <ProductId>prod</ProductId>\n";
static const std::string kComponent = " <Component>comp</Component>\n";
static const std::string kInstance = " <ProductInstance>inst</ProductInstance>\n";

class XMLFormatterTest : public OpenToolkitTest {
  protected:
    void SetUp() override {
        OpenToolkitTest::SetUp();
        PmxAddHandlerClass("keeper", nullptr, nullptr, nullptr, nullptr, keep, nullptr, nullptr);
        formatter = get("x", "pmx_xmlformatter");
    }
    std::string format(PmxEvent* event) {
        const vel::runtime::Owned<PmxEvent, PmxFreeEvent> owned(event);
        return taken(PmxPDXMLFormatterFFormat(formatter, event));
    }
    void set(const char* key, const char* value) { PmxSetObjProp(formatter, key, value); }

    static PmxObject* kept_logger(const char* name, const char* class_name) {
        PmxObject* const logger = get(name, class_name);
        PmxAddListener(logger, get("keeper", "keeper"));
        return logger;
    }
    // Notes the identifier and the properties of an event, with ";" behind each.
    static void keep(PmxObject*, PmxEvent* event, uint32_t) {
        std::string all = taken(pmxIntlGetEventMessageId(event)) + ";";
        const auto* link = vel::log::properties_of(event)->head;
        for (; link != nullptr; link = link->next)
            all.append(link->key).append("=").append(link->value).append(";");
        log.push_back(all);
    }
    static std::string ids() {
        return "processId=" + std::to_string(CxProcessGetCurrentID()) +
               ";threadId=" + std::to_string(CxThreadGetCurrentID()) + ";";
    }
    PmxObject* formatter = nullptr;
};

// Neither a text with the end of a CDATA section in it nor what stands in a tag is escaped, and the
// two bools are bytes.
TEST_F(XMLFormatterTest, WritesAllThatAnEventHasAsItIs) {
    const std::string body =
        time_element() + kServer + kProduct + kComponent + kInstance +
        " <LogText><![CDATA[ABC123I <]]>>]]></LogText>\n"
        " <LogAttribs><Key>organization</Key><Value>org</Value><Key>own</Key><Value><&</Value>"
        "</LogAttribs>\n <Source FileName=\"f.c\" Method=\"g\" Line=\"0\"/>\n";
    const char* end = " <CorrelationId>corr</CorrelationId>\n <Principal>cl</Principal>\n";
    EXPECT_EQ(format(make_full_event("cat")),
              "<Message Id=\"ABC123I\" Severity=\"ERROR\">\n" + body +
                  " <TranslationInfo Type=\"XPG4\" Catalog=\"cat\" MsgKey=\"7\" SetId=\"3\">"
                  "<Param><![CDATA[]]>]]></Param><Param><![CDATA[-9223372036854775808]]></Param>"
                  "<Param><![CDATA[0]]></Param><Param><![CDATA[1.500000]]></Param>"
                  "<Param><![CDATA[c]]></Param><Param><![CDATA[\1]]></Param>"
                  "<Param><![CDATA[]]></Param></TranslationInfo>\n" +
                  end + "</Message>\n");
    EXPECT_EQ(format(make_full_event(nullptr)),
              "<Trace Level=\"ERROR\">\n" + body +
                  " <Thread>18446744073709551615</Thread>\n <Process>-4</Process>\n" + end +
                  "</Trace>\n");
}

TEST_F(XMLFormatterTest, LeavesOutWhatAnEventHasNot) {
    const std::string text = " <LogText><![CDATA[text]]></LogText>\n";
    PmxEvent* const event = of_catalog(nullptr, make_event(PMX_NO_LEVEL, "text", PMX_END));
    EXPECT_EQ(taken(PmxPDXMLFormatterFFormat(formatter, event)),
              "<Trace>\n" + time_element() + text +
                  " <Source FileName=\"None\" Method=\"None\"/>\n</Trace>\n");
    set_pairs(formatter, PmxSetObjProp, "forceAsMessage true dateTimeFormat %Y locale de_DE");
    EXPECT_EQ(taken(PmxPDXMLFormatterFFormat(formatter, event)),
              "<Message Id=\"None\">\n <Time Millis=\"1704204189045\">2024</Time>\n" + text +
                  " <TranslationInfo Type=\"XPG4\" Catalog=\"\" MsgKey=\"7\" SetId=\"3\">"
                  "</TranslationInfo>\n</Message>\n");
    EXPECT_STREQ(PmxGetEventLocale(event), "de_DE");
    PmxFreeEvent(event);
    EXPECT_EQ(format(nullptr) + taken(PmxPDXMLFormatterFGetTrailer(formatter)), "--");
}

TEST_F(XMLFormatterTest, BeginsWithKindIdentifierAndLevel) {
    const struct {
        const char *as_message, *as_trace, *catalog, *id, *text, *tag;
        int32_t level;
    } rows[] = {
        {"x", "1", "cat", nullptr, "PMXBC0020E", "Message Id=\"PMXBC0020E\" Severity=\"MID\"",
         2000},
        {"TRUE", "true", "cat", nullptr, "ABC123", "Message Id=\"None\" Severity=\"OTHER\"", 4500},
        {"true", "TRUE", nullptr, nullptr, "ABC123I", "Trace Level=\"MAX\"", 1000},
        {"false", "true", "cat", nullptr, "ABC123I", "Trace Level=\"OTHER\"", 0},
        {"true", "x", nullptr, "own", "ABC123I", "Message Id=\"own\"", PMX_NO_LEVEL},
        {"true", "x", nullptr, "", "ABC123I", "Message Id=\"None\"", PMX_NO_LEVEL},
    };
    for (const auto& row : rows) {
        set("forceAsMessage", row.as_message);
        set("forceAsTrace", row.as_trace);
        PmxEvent* const event = of_catalog(row.catalog, make_event(row.level, row.text, PMX_END));
        PmxSetEventMessageId(event, row.id);
        EXPECT_EQ(format(event).find(std::string("<") + row.tag + ">\n"), 0U) << row.tag;
    }
}

TEST_F(XMLFormatterTest, WritesWhatAllRecordsShareOnceAfterEachRequestForTheHeader) {
    std::string before, record = format(make_full_event("cat"));
    const auto write_once = [&](const char* key, const std::string& element) {
        set(key, "true");
        EXPECT_EQ(PmxPDXMLFormatterFGetHeader(formatter), nullptr);
        before += element;
        record.erase(record.find(element), element.size());
        EXPECT_EQ(format(make_full_event("cat")), before + record) << key;
        EXPECT_EQ(format(make_full_event("cat")), record) << key;
    };
    write_once("singleServer", kServer);
    write_once("singleProduct", kProduct);
    write_once("singleComponent", kComponent);
    write_once("singleProductId", kInstance);
}

// The record has a kilobyte at first: the product fills it, and there is no more for the date.
TEST_F(XMLFormatterTest, ReportsThatThereIsNoMemoryForADate) {
    set("singleProduct", "true");
    PmxEvent* const event = make_event(PMX_INFO, "text", PMX_END);
    PmxSetEventProp(event, "product", std::string(930, 'x').c_str());
    std::string record;
    EXPECT_EQ(reported([&] {
                  rak_fail_after(2);
                  record = format(event);
              }),
              "PMXBC0020E Out of memory.");
    EXPECT_NE(record.find("Millis=\"1704204189045\"></Time>\n <LogText>"), std::string::npos);
}

TEST_F(XMLFormatterTest, LoggerTellsWithEachEventWhereItComesFrom) {
    PmxObject* const logger = kept_logger("l", "pmx_pdlogger");
    PmxLogText(logger, "ABC%dI", PMX_INT, 123, PMX_PROPERTY, "server", PMX_STRING, "x", PMX_END);
    EXPECT_EQ(recorded(), "ABC123I;server=host.org;serverFormat=IP;" + ids());
    set_pairs(logger, PmxSetObjProp,
              "organization o product p component c client l server s serverFormat f "
              "productInstance i level off");
    PmxLogText(logger, "text", PMX_END);
    const char* all = ";organization=o;product=p;component=c;client=l;server=s;serverFormat=f;";
    EXPECT_EQ(recorded(), all + ("productInstance=i;" + ids()));
    EXPECT_FALSE(PmxIsLoggable(logger, PMX_FATAL));
}

TEST_F(XMLFormatterTest, LoggerDoesWithoutAHostNameAndAFormatter) {
    get("pmxlog.pdMsgIdFormatter", "pmx_basicformatter");
    PmxObject *logger = nullptr, *nameless = nullptr;
    EXPECT_EQ(reported([&] { logger = kept_logger("l", "pmx_pdlogger"); }).substr(0, 10),
              "PMXBC0061W");
    PmxPDLoggerFCfgChange(logger, "server");  // a property that it has not
    host_name = nullptr;
    EXPECT_EQ(reported([&] { nameless = kept_logger("m", "pmx_pdlogger"); }).substr(0, 41),
              "PMXLG0035E A logger of class pmx_pdlogger");
    host_name = "host.org";
    for (PmxObject* each : {logger, nameless}) PmxLogText(each, "ABC123I", PMX_END);
    EXPECT_EQ(recorded(), "ABC123I;serverFormat=IP;" + ids() + " ABC123I;serverFormat=IP;" + ids());
}

TEST_F(XMLFormatterTest, OperationsDoWithoutTheVariablesOfTheirClass) {
    PmxAddFormatterClass("other", nullptr, nullptr, nullptr, PmxPDXMLFormatterFCfgChange,
                         PmxPDXMLFormatterFFormat, PmxPDXMLFormatterFGetHeader, nullptr, nullptr);
    PmxAddLoggerClass("other_logger", nullptr, nullptr, nullptr, PmxPDLoggerFCfgChange,
                      PmxPDLoggerFLog);
    formatter = get("other", "other");
    set("singleServer", "true");
    EXPECT_EQ(taken(PmxPDXMLFormatterFGetHeader(formatter)) + format(make_full_event("c")), "--");
    PmxSetObjProp(kept_logger("m", "other_logger"), "server", "x");
    PmxLogText(get("m"), "text", PMX_END);
    EXPECT_EQ(recorded(), ";" + ids());
    PmxCloseToolkit();
    PmxPDLoggerFFreeVars(PmxPDLoggerFAllocVars());
}
