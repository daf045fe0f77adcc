// What the benchmarks share around Google Benchmark: start-up with a short
// default minimum time, a reporter that keeps every run's throughput next to
// the usual display, and the final table comparing kry with its peers.
#ifndef KRY_BENCH_RATIO_REPORT_H
#define KRY_BENCH_RATIO_REPORT_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ratio_report {

// Initialises Google Benchmark with default_min_time (e.g.
// "--benchmark_min_time=0.3") placed before the command-line flags, so that
// a minimum time given by the user wins.  Takes out this program's own flag
// --kry_table=FILE (also read from the environment variable KRY_BENCH_TABLE):
// print_table then writes the table as Markdown to FILE as well.  Returns
// where the table belongs: standard output after console output, standard
// error after JSON or CSV (so as not to spoil the data); null when a flag
// was not recognised (the caller then exits with status 2).
std::FILE *initialize(int argc, char **argv, const char *default_min_time);

// Forwards everything to the display reporter chosen by the command-line
// flags and keeps the bytes-per-second figure of every successful run (and
// the median aggregates, which are all that comes with
// --benchmark_report_aggregates_only).
class CollectingReporter : public benchmark::BenchmarkReporter {
public:
    explicit CollectingReporter(benchmark::BenchmarkReporter *display) : display_(display) {}

    bool ReportContext(const Context &context) override;
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

    // Median bytes per second of the runs of one benchmark, if it ran.
    std::optional<double> rate(const std::string &name) const;

    bool empty() const { return rates_.empty() && medians_.empty(); }

private:
    benchmark::BenchmarkReporter *display_;  // owned by the benchmark library
    std::map<std::string, std::vector<double>> rates_;
    std::map<std::string, double> medians_;
};

// One peer's benchmark on the work of a row.
struct PeerRun {
    std::string benchmark;  // name of the peer's benchmark
    std::string library;    // "OpenSSL", "nettle", ...
    bool agrees = true;     // its output was checked equal to kry's
};

// One line of the table: kry's benchmark and the peers' on the same work.
struct Row {
    std::string label;            // first column ("SHA-256", "AES-128-CBC", ...)
    std::size_t size = 0;         // message bytes; 0: none (operations)
    std::string kry_benchmark;    // name of kry's benchmark
    std::vector<PeerRun> peers;   // empty: kry alone
    std::string note;             // appended to the ratio, e.g. " (output differs!)"

    void add_peer(const std::string &benchmark, const std::string &library, bool agrees = true) {
        peers.push_back(PeerRun{benchmark, library, agrees});
    }
};

// How the collected rates read: MB/s (10^6 bytes per second) for the
// throughput benchmarks, operations per second for those that count one
// "byte" per operation.
enum class Unit { megabytes, operations };

// Prints, for every row of which at least one side ran, kry's rate, the
// best peer's rate and name, the ratio kry/best (above 1: kry is faster) and
// the ratio to every peer; with --kry_table also as Markdown to that file.
// A peer whose output differed from kry's is flagged and not taken as best.
void print_table(std::FILE *out, const CollectingReporter &reporter, const std::vector<Row> &rows,
                 Unit unit = Unit::megabytes, const char *title = nullptr);

}  // namespace ratio_report

#endif  // KRY_BENCH_RATIO_REPORT_H
