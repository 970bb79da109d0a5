// The named conversions, and which of them a code set's kind chooses.
#include "i18n/converters.h"

#include "i18n/ebcdic_codes.h"
#include "i18n/gb18030_code.h"
#include "i18n/table_codes.h"
#include "i18n/unicode_text.h"

namespace vel::i18n {

// One conversion in two forms: without bounds checks for tables that are known to be whole.
template <Converter kOfWhole, Converter kOfAny>
int by_table(uc_ch_t& cs, Span& s) {
    return cs.loaded->whole ? kOfWhole(cs, s) : kOfAny(cs, s);
}

template <template <bool> class Reader, class Writer>
inline constexpr Converter from_table =
    by_table<convert<Reader<true>, Writer>, convert<Reader<false>, Writer>>;

template <class Reader, template <bool> class Writer>
inline constexpr Converter to_table =
    by_table<convert<Reader, Writer<true>>, convert<Reader, Writer<false>>>;

template <bool kWhole>
using SbcsWriter = TableWriter<uint8_t, kWhole>;
template <bool kWhole>
using DbcsWriter = TableWriter<uint16_t, kWhole>;
template <bool kWhole>
using MbcsWriter = TableWriter<uint32_t, kWhole>;

// clang-format off
static constexpr Converter ascii_sbcs_to_utf8_r   = convert<SbcsReader, Utf8Writer>;
static constexpr Converter ascii_sbcs_from_utf8_r = to_table<CoarseUtf8Reader, SbcsWriter>;
static constexpr Converter ascii_sbcs_to_ucs2_r   = convert<SbcsReader, Ucs2Writer>;
static constexpr Converter ascii_sbcs_from_ucs2_r = to_table<Ucs2Reader, SbcsWriter>;

static constexpr Converter ascii_dbcs_to_utf8_r   = from_table<DbcsReader, Utf8Writer>;
static constexpr Converter ascii_dbcs_from_utf8_r = to_table<CoarseUtf8Reader, DbcsWriter>;
static constexpr Converter ascii_dbcs_to_ucs2_r   = from_table<DbcsReader, Ucs2Writer>;
static constexpr Converter ascii_dbcs_from_ucs2_r = to_table<Ucs2Reader, DbcsWriter>;

static constexpr Converter ascii_mbcs_to_utf8_r   = convert<MbcsReader, Utf8Writer>;
static constexpr Converter ascii_mbcs_from_utf8_r = to_table<CoarseUtf8Reader, MbcsWriter>;
static constexpr Converter ascii_mbcs_to_ucs2_r   = convert<MbcsReader, Ucs2Writer>;
static constexpr Converter ascii_mbcs_from_ucs2_r = to_table<Ucs2Reader, MbcsWriter>;

static constexpr Converter ascii_gb18030_to_utf8_r   = convert<Gb18030Reader, Utf8Writer>;
static constexpr Converter ascii_gb18030_from_utf8_r = to_table<CoarseUtf8Reader, MbcsWriter>;
static constexpr Converter ascii_gb18030_to_ucs2_r   = convert<Gb18030Reader, Ucs2Writer>;
static constexpr Converter ascii_gb18030_from_ucs2_r = to_table<Ucs2Reader, MbcsWriter>;

static constexpr Converter ebcdic_sbcs_to_utf8_r   = convert<EbcdicSbcsReader, Utf8Writer>;
static constexpr Converter ebcdic_sbcs_from_utf8_r = to_table<CoarseUtf8Reader, EbcdicSbcsWriter>;
static constexpr Converter ebcdic_sbcs_to_ucs2_r   = convert<EbcdicSbcsReader, Ucs2Writer>;
static constexpr Converter ebcdic_sbcs_from_ucs2_r = to_table<Ucs2Reader, EbcdicSbcsWriter>;

static constexpr Converter ebcdic_dbcs_to_utf8_r   = from_table<EbcdicDbcsReader, Utf8Writer>;
static constexpr Converter ebcdic_dbcs_from_utf8_r = to_table<CoarseUtf8Reader, EbcdicDbcsWriter>;
static constexpr Converter ebcdic_dbcs_to_ucs2_r   = from_table<EbcdicDbcsReader, Ucs2Writer>;
static constexpr Converter ebcdic_dbcs_from_ucs2_r = to_table<Ucs2Reader, EbcdicDbcsWriter>;

static constexpr Converter utf8_to_utf8_r   = convert<Utf8Reader, Utf8Writer>;
static constexpr Converter utf8_to_ucs2_r   = convert<Utf8Reader, Ucs2Writer>;
static constexpr Converter utf8_from_ucs2_r = convert<Ucs2PairReader, Utf8Writer>;

static constexpr Converter os_to_utf8_r   = convert<ByteReader, ByteWriter>;
static constexpr Converter os_from_utf8_r = os_to_utf8_r;
static constexpr Converter os_to_ucs2_r   = convert<ByteReader, Ucs2Writer>;
static constexpr Converter os_from_ucs2_r = convert<Ucs2Reader, ByteWriter>;

static constexpr Family kSbcsFamily{
    ascii_sbcs_to_utf8_r, ascii_sbcs_from_utf8_r, ascii_sbcs_to_ucs2_r, ascii_sbcs_from_ucs2_r};
static constexpr Family kDbcsFamily{
    ascii_dbcs_to_utf8_r, ascii_dbcs_from_utf8_r, ascii_dbcs_to_ucs2_r, ascii_dbcs_from_ucs2_r};
static constexpr Family kMbcsFamily{
    ascii_mbcs_to_utf8_r, ascii_mbcs_from_utf8_r, ascii_mbcs_to_ucs2_r, ascii_mbcs_from_ucs2_r};
static constexpr Family kEbcdicDbcsFamily{
    ebcdic_dbcs_to_utf8_r, ebcdic_dbcs_from_utf8_r, ebcdic_dbcs_to_ucs2_r, ebcdic_dbcs_from_ucs2_r};
static constexpr Family kUtf8Family{
    utf8_to_utf8_r, utf8_to_utf8_r, utf8_to_ucs2_r, utf8_from_ucs2_r};
static constexpr Family kEbcdicSbcsFamily{
    ebcdic_sbcs_to_utf8_r, ebcdic_sbcs_from_utf8_r, ebcdic_sbcs_to_ucs2_r, ebcdic_sbcs_from_ucs2_r};
static constexpr Family kOsFamily{
    os_to_utf8_r, os_from_utf8_r, os_to_ucs2_r, os_from_ucs2_r};
static constexpr Family kGb18030Family{
    ascii_gb18030_to_utf8_r, ascii_gb18030_from_utf8_r, ascii_gb18030_to_ucs2_r,
    ascii_gb18030_from_ucs2_r};

// clang-format on

constexpr const Family* kFamilies[kFamilyCount] = {
    &kOsFamily,   &kSbcsFamily, &kDbcsFamily,       &kMbcsFamily, &kEbcdicDbcsFamily, &kOsFamily,
    &kUtf8Family, &kOsFamily,   &kEbcdicSbcsFamily, &kOsFamily,   &kGb18030Family};

}  // namespace vel::i18n
