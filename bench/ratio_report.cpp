#include "ratio_report.h"

#include <algorithm>
#include <cstdlib>

namespace ratio_report {

namespace {

// Where print_table also writes the Markdown table; empty: nowhere.
std::string &markdown_path() {
    static std::string path;
    return path;
}

}  // namespace

std::FILE *initialize(int argc, char **argv, const char *default_min_time) {
    // Google Benchmark keeps pointers into argv, so the strings must outlive
    // the run.
    static std::string min_time;
    static std::vector<char *> args;
    min_time = default_min_time;
    args.clear();
    args.push_back(argv[0]);
    args.push_back(min_time.data());
    if (const char *env = std::getenv("KRY_BENCH_TABLE")) markdown_path() = env;
    bool table_to_stdout = true;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const std::string table_flag = "--kry_table=";
        if (arg.rfind(table_flag, 0) == 0) {
            markdown_path() = arg.substr(table_flag.size());
            continue;
        }
        args.push_back(argv[i]);
        const std::string flag = "--benchmark_format=";
        if (arg.rfind(flag, 0) == 0) table_to_stdout = arg.substr(flag.size()) == "console";
    }
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return nullptr;
    return table_to_stdout ? stdout : stderr;
}

bool CollectingReporter::ReportContext(const Context &context) {
    return display_->ReportContext(context);
}

void CollectingReporter::ReportRuns(const std::vector<Run> &runs) {
    for (const Run &run : runs) {
        if (run.error_occurred) continue;
        const auto it = run.counters.find("bytes_per_second");
        if (it == run.counters.end()) continue;
        if (run.run_type == Run::RT_Iteration)
            rates_[run.run_name.function_name].push_back(it->second.value);
        else if (run.aggregate_name == "median")
            medians_[run.run_name.function_name] = it->second.value;
    }
    display_->ReportRuns(runs);
}

void CollectingReporter::Finalize() { display_->Finalize(); }

std::optional<double> CollectingReporter::rate(const std::string &name) const {
    const auto it = rates_.find(name);
    if (it == rates_.end() || it->second.empty()) {
        // With --benchmark_report_aggregates_only only the aggregates come.
        const auto median = medians_.find(name);
        if (median == medians_.end()) return std::nullopt;
        return median->second;
    }
    std::vector<double> values = it->second;
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

namespace {

std::string format_rate(std::optional<double> rate, Unit unit) {
    if (!rate) return "-";
    char text[32];
    if (unit == Unit::megabytes)
        std::snprintf(text, sizeof text, "%.1f", *rate / 1e6);
    else
        std::snprintf(text, sizeof text, *rate < 100 ? "%.2f" : "%.0f", *rate);
    return text;
}

std::string format_ratio(std::optional<double> ours, std::optional<double> theirs) {
    if (!ours || !theirs || *theirs <= 0) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", *ours / *theirs);
    return text;
}

// A row with its rates looked up.
struct Line {
    std::string name;                  // label, with the size when there is one
    std::string size;                  // "" for operations
    std::optional<double> ours;
    std::optional<double> best;
    std::string best_library = "-";
    std::string ratio;                 // kry/best, with the row's flags
    std::string per_peer;              // "OpenSSL 0.52, nettle 0.90"
};

Line make_line(const CollectingReporter &reporter, const Row &row, Unit unit) {
    Line line;
    line.name = row.label;
    if (row.size != 0) {
        line.size = std::to_string(row.size);
        line.name += "/" + line.size;
    }
    line.ours = reporter.rate(row.kry_benchmark);
    std::string flags = row.note;
    for (const PeerRun &peer : row.peers) {
        const auto theirs = reporter.rate(peer.benchmark);
        if (!peer.agrees) flags += " (" + peer.library + " output differs!)";
        if (!theirs) continue;
        if (!line.per_peer.empty()) line.per_peer += ", ";
        line.per_peer += peer.library + " " + format_rate(theirs, unit) + " (" +
                         format_ratio(line.ours, theirs) + ")";
        if (peer.agrees && (!line.best || *theirs > *line.best)) {
            line.best = theirs;
            line.best_library = peer.library;
        }
    }
    line.ratio = format_ratio(line.ours, line.best) + flags;
    if (line.per_peer.empty()) line.per_peer = "-";
    return line;
}

}  // namespace

void print_table(std::FILE *out, const CollectingReporter &reporter, const std::vector<Row> &rows,
                 Unit unit, const char *title) {
    if (reporter.empty()) return;
    std::vector<Line> lines;
    for (const Row &row : rows) {
        Line line = make_line(reporter, row, unit);
        if (line.ours || line.best || line.per_peer != "-") lines.push_back(line);
    }
    int width = 9;  // "algorithm"
    for (const Row &row : rows) width = std::max(width, static_cast<int>(row.label.size()));
    const char *unit_name = unit == Unit::megabytes ? "MB/s" : "op/s";

    std::fflush(stdout);
    if (title != nullptr)
        std::fprintf(out, "\n%s\n", title);
    else if (unit == Unit::megabytes)
        std::fprintf(out, "\nThroughput, MB/s (10^6 bytes per second; median of repetitions)\n");
    else
        std::fprintf(out, "\nOperations per second (CPU time; median of repetitions)\n");
    std::fprintf(out, "%-*s %6s %10s %10s %-10s %9s  %s\n", width, "algorithm", "size", "kry", "best peer",
                 "peer lib", "kry/best", "every peer: rate (kry/peer)");
    for (const Line &line : lines) {
        const std::string label = line.size.empty() ? line.name : line.name.substr(0, line.name.size() - line.size.size() - 1);
        std::fprintf(out, "%-*s %6s %10s %10s %-10s %9s  %s\n", width, label.c_str(),
                     line.size.empty() ? "-" : line.size.c_str(), format_rate(line.ours, unit).c_str(),
                     format_rate(line.best, unit).c_str(), line.best_library.c_str(), line.ratio.c_str(),
                     line.per_peer.c_str());
    }

    if (markdown_path().empty()) return;
    std::FILE *md = std::fopen(markdown_path().c_str(), "w");
    if (md == nullptr) {
        std::fprintf(stderr, "cannot write the table to %s\n", markdown_path().c_str());
        return;
    }
    std::fprintf(md, "| case | unit | kry | best peer | peer | kry/best | every peer: rate (kry/peer) |\n");
    std::fprintf(md, "|---|---|--:|--:|---|--:|---|\n");
    for (const Line &line : lines)
        std::fprintf(md, "| %s | %s | %s | %s | %s | %s | %s |\n", line.name.c_str(), unit_name,
                     format_rate(line.ours, unit).c_str(), format_rate(line.best, unit).c_str(),
                     line.best_library.c_str(), line.ratio.c_str(), line.per_peer.c_str());
    std::fclose(md);
}

}  // namespace ratio_report
