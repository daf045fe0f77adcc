#include "ratio_report.h"

#include <algorithm>

namespace ratio_report {

std::FILE *initialize(int argc, char **argv, const char *default_min_time) {
    // Google Benchmark keeps pointers into argv, so the strings must outlive
    // the run.
    static std::string min_time;
    static std::vector<char *> args;
    min_time = default_min_time;
    args.clear();
    args.push_back(argv[0]);
    args.push_back(min_time.data());
    bool table_to_stdout = true;
    for (int i = 1; i < argc; ++i) {
        args.push_back(argv[i]);
        const std::string arg = argv[i];
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

std::string format_rate(std::optional<double> bytes_per_second) {
    if (!bytes_per_second) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", *bytes_per_second / 1e6);
    return text;
}

}  // namespace

void print_table(std::FILE *out, const CollectingReporter &reporter, const std::vector<Row> &rows) {
    if (reporter.empty()) return;
    int width = 9;  // "algorithm"
    for (const Row &row : rows) width = std::max(width, static_cast<int>(row.label.size()));

    std::fflush(stdout);
    std::fprintf(out, "\nThroughput, MB/s (10^6 bytes per second; median of repetitions)\n");
    std::fprintf(out, "%-*s %6s %10s %10s %-8s %9s\n", width, "algorithm", "size", "kry", "peer",
                 "peer lib", "kry/peer");
    for (const Row &row : rows) {
        const auto ours = reporter.rate(row.kry_benchmark);
        std::optional<double> theirs;
        if (!row.peer_benchmark.empty()) theirs = reporter.rate(row.peer_benchmark);
        if (!ours && !theirs) continue;
        std::string ratio = "-";
        if (ours && theirs && *theirs > 0) {
            char text[32];
            std::snprintf(text, sizeof text, "%.2f", *ours / *theirs);
            ratio = text;
        }
        ratio += row.note;
        const std::string library = row.peer_library.empty() ? "-" : row.peer_library;
        std::fprintf(out, "%-*s %6zu %10s %10s %-8s %9s\n", width, row.label.c_str(), row.size,
                     format_rate(ours).c_str(), format_rate(theirs).c_str(), library.c_str(),
                     ratio.c_str());
    }
}

}  // namespace ratio_report
