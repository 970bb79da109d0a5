// The conversions beside iconv and ICU, and those of ASCII beside a plain copy. Before anything is
// timed, all of them have to produce the same bytes for the same text. Only ratios within one run
// mean anything; bench/report.py makes them.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "i18n/mab.h"
#include "veltool/charset.h"

namespace {

constexpr char kEnglish[] =
    "The host keeps one identity for as long as it lives, and every record that leaves it carries "
    "that identity. When a machine is moved, renamed or given another address, the numbers stay as "
    "they were: 16 bytes, made once and read by all. A tool that finds none makes a new one, but "
    "where it was told only to look; then it says so & leaves with status 1 (never 0). ";
constexpr char kFrench[] =
    "Le système garde l'identité reçue à sa création; même déplacé, il n'en change pas. Où qu'il "
    "soit hébergé, l'opérateur retrouve aisément l'événement signalé, grâce à ce numéro. Ça marche "
    "très bien: les journaux, rangés près du serveur, sont épurés dès leur délai passé. ";
constexpr char kRussian[] =
    "Каждыйузелхранитсвойединственныйномер,покаонсуществует. Еслимашинупереносятилидаютейновоеимя,"
    "номеростаётсяпрежним. Всёостальноеможноизменить:адрес,часовойпояс,языксообщений. Программа,"
    "ненайдяномера,создаётновый,иоднаждызаписанноезначениечитаютвсеслужбы. Журналотмечаетдень,"
    "часипричинукаждойошибки,чтобыдежурныйинженербыстронашёлнеисправностьиустранилеё. ";
constexpr char kJapanese[] =
    "この計算機は、作られたときに一つの番号を受け取り、その後ずっと同じ番号を使います。"
    "名前や住所が変わっても、番号は変わりません。記録を読む人は、どの機械から届いた知らせなのかを"
    "すぐに確かめることができます。サーバーが止まったときは、ログファイルに時刻と理由が残るので、"
    "担当者は朝になってから落ち着いて調べればよいのです。設定を誤ると、古いデータは消えます。";
constexpr char kMixedJapanese[] =
    "サーバー host17 の起動に失敗しました。ファイル system.log を開き、code 4012 の意味を調べて"
    "ください。接続先 port 8080 から応答がないときは、管理者が restart を実行します。記録は "
    "archive に移され、三十日後に delete されます。利用者 admin の権限を確かめてから、もう一度 "
    "login してください。";
constexpr char kMixedChinese[] =
    "每台主机 host 在创建时得到一个编号，此后一直不变。管理员打开 system.log 就能看到故障的时间和"
    "原因。如果网络中断，程序会等待 30 秒后重新连接。藏文 བོད་ཡིག 的消息也可以保存，蒙古文 ᠮᠣᠩᠭᠣᠯ "
    "亦然。请先检查 config 文件，再启动服务；旧的数据每天夜里自动清理，不需要人工处理。";

struct Text {
    const char* name;
    const char* code_set;
    const char* words;
};

constexpr Text kTexts[] = {
    {"ASCII in ISO-8859-1", "ISO-8859-1", kEnglish},
    {"ASCII in CP943", "CP943", kEnglish},
    {"Russian in KOI8-R", "KOI8-R", kRussian},
    {"Japanese in CP943", "CP943", kJapanese},
    {"Japanese in EUC-JP", "EUC-JP", kJapanese},
    {"mixed Chinese in GB18030", "GB18030", kMixedChinese},
    {"English in CP1047", "CP1047", kEnglish},
    {"mixed Japanese in CP939", "CP939", kMixedJapanese},
    {"ASCII in UTF-8", "UTF-8", kEnglish},
    {"French in UTF-8", "UTF-8", kFrench},
    {"Japanese in UTF-8", "UTF-8", kJapanese},
};

[[noreturn]] void fail(const std::string& what, const char* why) {
    fprintf(stderr, "convert: %s: %s\n", what.c_str(), why);
    exit(1);
}

// A code set is opened once; what is timed is a call for a whole text, which starts and ends in the
// initial state. (No virtual call on the way: for short ASCII that is half of the time.)
template <bool kToUtf8>
class Mab {
  public:
    explicit Mab(const char* code_set) : cs_(mab_cs_new(code_set)) {
        if (!cs_) fail(code_set, "no table");
    }
    size_t convert(std::string_view in, char* out, size_t room) {
        constexpr auto kConvert = kToUtf8 ? mab_to_utf8 : mab_from_utf8;
        return size_t(kConvert(cs_, in.data(), int32_t(in.size()), out, int32_t(room)));
    }

  private:
    uc_ch_t* cs_;
};

class Iconv {
  public:
    Iconv(const std::string& to, const std::string& from)
        : descriptor_(iconv_open(to.c_str(), from.c_str())) {
        if (descriptor_ == iconv_t(-1)) fail(to + " from " + from, "unknown to iconv");
    }
    size_t convert(std::string_view in, char* out, size_t room) {
        char *text = const_cast<char*>(in.data()), *end = out;
        size_t length = in.size();
        iconv(descriptor_, &text, &length, &end, &room);
        iconv(descriptor_, nullptr, nullptr, &end, &room);
        return size_t(end - out);
    }

  private:
    iconv_t descriptor_;
};

// Of ICU's ways, ucnv_convertEx with a pivot that is kept: for blocks it is level with
// ucnv_toAlgorithmic and ucnv_fromAlgorithmic, for short strings a fifth faster, and nowhere slower
// than over UTF-16 in full.
class Icu {
  public:
    Icu(const char* code_set, bool to_utf8) {
        UErrorCode error = U_ZERO_ERROR;
        from_ = ucnv_open(to_utf8 ? code_set : "UTF-8", &error);
        to_ = ucnv_open(to_utf8 ? "UTF-8" : code_set, &error);
        if (U_FAILURE(error)) fail(code_set, "unknown to ICU");
    }
    size_t convert(std::string_view in, char* out, size_t room) {
        UErrorCode error = U_ZERO_ERROR;
        const char* text = in.data();
        char* end = out;
        UChar *source = pivot_, *target = pivot_;
        ucnv_convertEx(to_, from_, &end, out + room, &text, text + in.size(), pivot_, &source,
                       &target, std::end(pivot_), true, true, &error);
        return size_t(end - out);
    }

  private:
    UConverter *from_, *to_;
    UChar pivot_[8192];
};

class Copy {
  public:
    size_t convert(std::string_view in, char* out, size_t) {
        memcpy(out, in.data(), in.size());
        return in.size();
    }
};

constexpr size_t kBlock = 65536, kString = 80;
char output[4 * kBlock];

template <class Converter>
std::string_view converted(Converter& converter, std::string_view in) {
    return {output, converter.convert(in, output, sizeof output)};
}

// Some 64 KB of text in pieces of at most a size: what goes in and what has to come out.
struct Work {
    std::vector<std::string> in, out;
    size_t size = 0;
};

// The longest beginning of a text in UTF-8 that goes in, encoded or as it is.
std::string_view cut(std::string_view text, Iconv* encoder, size_t limit) {
    const auto whole = [&](size_t size) {
        while ((text[size] & 0xC0) == 0x80) --size;
        return text.substr(0, size);
    };
    size_t fits = 0, exceeds = std::min(text.size(), 3 * limit);
    while (exceeds - fits > 1) {
        const size_t middle = fits + (exceeds - fits) / 2;
        const std::string_view piece = whole(middle);
        (encoder ? converted(*encoder, piece) : piece).size() <= limit ? fits = middle
                                                                       : exceeds = middle;
    }
    return whole(fits);
}

Work make_work(const char* words, const std::string& charset, bool to_utf8, size_t limit) {
    Iconv encoder(charset, "UTF-8");
    std::string text;
    while (text.size() < 3 * kBlock) text += words;
    std::string_view left = text;
    Work work;
    while (work.size < kBlock - kString) {
        const std::string_view utf8 = cut(left, to_utf8 ? &encoder : nullptr, limit);
        const std::string_view encoded = converted(encoder, utf8);
        left.remove_prefix(utf8.size());
        work.in.emplace_back(to_utf8 ? encoded : utf8);
        work.out.emplace_back(to_utf8 ? utf8 : encoded);
        work.size += work.in.back().size();
    }
    return work;
}

template <class Converter>
void add(const std::string& name, Converter* new_converter, std::shared_ptr<const Work> work) {
    std::shared_ptr<Converter> converter(new_converter);
    for (size_t i = 0; i < work->in.size(); ++i)
        if (converted(*converter, work->in[i]) != work->out[i]) fail(name, "not the same text");
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (auto _ : state)
            for (const std::string& in : work->in)
                benchmark::DoNotOptimize(converter->convert(in, output, sizeof output));
        state.SetBytesProcessed(state.iterations() * int64_t(work->size));
    });
}

void add_all(const Text& text, bool to_utf8, size_t limit) {
    const std::string charset = vel::tool::find_charset(text.code_set);
    if (charset.empty()) fail(text.code_set, "unknown to iconv");
    const auto work = std::make_shared<const Work>(make_work(text.words, charset, to_utf8, limit));
    const std::string name = std::string(text.name) + (to_utf8 ? ", to UTF-8:" : ", from UTF-8:") +
                             (limit == kBlock ? "64 KB:" : "80 bytes:");
    if (to_utf8) {
        add(name + "mab", new Mab<true>(text.code_set), work);
    } else {
        add(name + "mab", new Mab<false>(text.code_set), work);
    }
    add(name + "iconv", to_utf8 ? new Iconv("UTF-8", charset) : new Iconv(charset, "UTF-8"), work);
    if (!strcmp(text.code_set, "UTF-8")) return;  // no code set to ICU, but a check and a copy
    add(name + "ICU", new Icu(text.code_set, to_utf8), work);
    if (work->in == work->out) add(name + "memcpy", new Copy, work);
}

}  // namespace

int main(int argc, char** argv) {
    setenv("MABDIR", VEL_CODESET_DIR, 1);
    for (const Text& text : kTexts)
        for (const bool to_utf8 : {true, false})
            for (const size_t limit : {kBlock, kString})
                if (to_utf8 || strcmp(text.code_set, "UTF-8")) add_all(text, to_utf8, limit);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
