#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <sstream>

#include "veltool/capture_stage.h"
#include "veltool/files.h"
#include "veltool/json_object.h"
#include "veltool/log_text.h"
#include "veltool/program.h"
#include "veltool/report.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp =
    R"(Usage: veltool capture bundle --output ARCHIVE DIRECTORY [DAY...]

Puts the captures below DIRECTORY, all or those of some days (YYYY.MM.DD), into one archive, which its
owner alone can read. tar, zip and sha256sum do the work. With the files come MANIFEST.jsonl, which has
the name, size, time and SHA-256 of each, and SHA256SUMS for sha256sum --check.

  -o, --output ARCHIVE  .tar, .tar.gz, .tgz, .tar.xz or .zip; replaces what is there
)";

constexpr Option kOptions[] = {{"output", 'o', true}};

constexpr const char* kManifest = "MANIFEST.jsonl";
constexpr const char* kSums = "SHA256SUMS";

// How an archive of a kind is made; the words behind are the names in it.
struct ArchiveKind {
    std::string_view suffix;
    std::vector<std::string> (*command)(const std::string& archive);
};
std::vector<std::string> tar_command(const std::string& archive) {
    return {"tar", "--create", "--auto-compress", "--file=" + archive, "--"};
}
std::vector<std::string> zip_command(const std::string& archive) {
    return {"zip", "-q", "-r", "-X", archive};
}
constexpr ArchiveKind kKinds[] = {{".tar", tar_command},
                                  {".tar.gz", tar_command},
                                  {".tgz", tar_command},
                                  {".tar.xz", tar_command},
                                  {".zip", zip_command}};

const ArchiveKind& kind_of(const std::string& archive) {
    const auto row = std::ranges::find_if(
        kKinds, [&](const ArchiveKind& kind) { return archive.ends_with(kind.suffix); });
    if (row == std::end(kKinds))
        throw UsageError("an archive's name ends with .tar, .tar.gz, .tgz, .tar.xz or .zip");
    return *row;
}

// ---- What goes in

// Those of the days that were named, or all.
std::vector<CaptureDay> choose(std::vector<CaptureDay> days, std::span<const std::string> names) {
    if (names.empty()) return days;
    std::vector<CaptureDay> chosen;
    for (const std::string& word : names) {
        // A shell that completes the name of a directory puts a "/" behind it.
        const std::string name = word.substr(0, word.find_last_not_of('/') + 1);
        const auto day = std::ranges::find(days, name, &CaptureDay::name);
        if (day == days.end()) throw Failure(shown(word) + ": no such day");
        const bool is_new = std::ranges::find(chosen, name, &CaptureDay::name) == chosen.end();
        if (is_new) chosen.push_back(*day);
    }
    return chosen;
}

// Copies a file, or says why it is left out, and says when it is not as it ever was.
ExitStatus copy(const CapturedFile& file, const Stage& stage, std::vector<StagedFile>& copies) {
    return attempt(shown(file.path), [&] {
        copies.push_back(stage.copy(file.path));
        if (!copies.back().has_changed) return kDone;
        throw Failure("changed while it was copied; it is in the archive");
    });
}

std::vector<StagedFile> copy_all(const std::vector<CaptureDay>& days, const Stage& stage,
                                 ExitStatus& status) {
    std::vector<StagedFile> copies;
    for (const CaptureDay& day : days) {
        for (const CapturedFile& file : day.files) {
            check_for_stop();
            if (copy(file, stage, copies) != kDone) status = kFinding;
        }
    }
    if (copies.empty()) throw Failure("there is nothing to put into an archive");
    return copies;
}

// A line for each file, as sha256sum writes it.
std::string sums_of(const std::vector<StagedFile>& files) {
    constexpr size_t kMostNames = 1000;  // of one command line
    std::string sums;
    for (size_t begin = 0; begin < files.size(); begin += kMostNames) {
        std::vector<std::string> words = {"sha256sum", "--"};
        const size_t end = std::min(files.size(), begin + kMostNames);
        for (size_t i = begin; i < end; ++i) words.push_back(files[i].name);
        sums += run_program(words);
        check_for_stop();
    }
    return sums;
}

std::string manifest_of(const std::vector<StagedFile>& files, const std::string& sums) {
    constexpr size_t kDigits = 64;
    std::istringstream lines(sums);
    std::string manifest, sum;
    for (const StagedFile& file : files) {
        std::getline(lines, sum);
        // A backslash in front says that the name is written with escapes.
        if (sum.starts_with('\\')) sum.erase(0, 1);
        if (sum.find_first_not_of("0123456789abcdef") != kDigits)
            throw Failure("sha256sum has said something else than sums");
        JsonObject object;
        object.text("name", file.name).number("size", file.size);
        object.text("time", utc_date(millis_of(file.modification_time)));
        manifest += object.text("sha256", sum.substr(0, kDigits)).str() + '\n';
    }
    return manifest;
}

// The names at the top of the stage, all of which are harmless: days, and the manifest.
std::vector<std::string> names_in_archive(const std::vector<StagedFile>& files) {
    std::vector<std::string> names = {kManifest, kSums};
    for (const StagedFile& file : files) {
        std::string day = file.name.substr(0, file.name.find('/'));
        if (names.back() != day) names.push_back(std::move(day));
    }
    return names;
}

ExitStatus run(const CommandLine& line) {
    const std::string output = line.value("output");
    if (output.empty()) throw UsageError("the archive is missing: --output");
    const ArchiveKind& kind = kind_of(output);
    const std::string directory = capture_directory(line);
    const std::string archive = std::filesystem::absolute(output);
    enter_captures(directory);
    const auto names = std::span(line.operands()).subspan(1);
    const std::vector<CaptureDay> days = choose(find_captures(), names);
    ExitStatus status = complain_of_gaps(days);
    umask(S_IRWXG | S_IRWXO);
    const Stage stage(archive);
    const std::vector<StagedFile> files = copy_all(days, stage, status);
    const std::string sums = sums_of(files);
    write_file(kSums, sums);
    write_file(kManifest, manifest_of(files, sums));
    const std::string draft = "archive" + std::string(kind.suffix);
    std::vector<std::string> words = kind.command(draft);
    std::ranges::move(names_in_archive(files), std::back_inserter(words));
    run_program(words);
    check_for_stop();
    stage.put_in_place(draft);
    std::cout << shown(output) << ": " << with_commas(files.size()) << " files\n";
    return status;
}

}  // namespace

constinit const Verb kCaptureBundle{"capture", "bundle", "put captures into one archive",
                                    kHelp,     kOptions, run};

}  // namespace vel::tool
