// Processes, their memory and their logs.
#include "Numbers.h"
#include "Report.h"

namespace ods::bench {

namespace {

std::string Mebibytes(double number) { return Fixed(number, 1) + " MiB"; }

/// Median and 99th percentile of processor and elapsed time.
std::string Taken(const Series& series) {
  return Time(Median(series.processor)) + ", " + Time(NinetyNinth(series.processor)) + " | " +
         Time(Median(series.elapsed)) + ", " + Time(NinetyNinth(series.elapsed));
}

}  // namespace

void WriteProcesses(std::ostream& out, const std::vector<ProcessResult>& results) {
  out << "| | | `Ping`: processor, 99th percentile | elapsed, 99th percentile | start to the answer of a `Ping` that "
         "waited | resident, idle | after all pages |\n|---|---|---|---|---|---|---|\n";
  for (const ProcessResult& result : results) {
    out << "| " << result.product << " | " << result.name << " | " << Taken(result.ping) << " | "
        << Time(Median(result.start.elapsed)) << " | " << Mebibytes(result.idle) << " | "
        << Mebibytes(result.afterwards) << " |\n";
  }
}

void WriteMemory(std::ostream& out, const std::vector<LargeResult>& large, const std::vector<LongRunResult>& longRuns) {
  out << "| | A response of | peak above idle : its size | its size | idle | peak |\n|---|---|---|---|---|---|\n";
  for (const LargeResult& result : large) {
    out << "| " << result.product << ", " << result.paging << " | " << result.what << " | "
        << Times((result.peak - result.idle) / result.answer) << " | " << Mebibytes(result.answer) << " | "
        << Mebibytes(result.idle) << " | " << Mebibytes(result.peak) << " |\n";
  }
  out << "\nResident after so many requests, and in the end beside the first of these:\n\n";
  for (const LongRunResult& result : longRuns) {
    out << "- " << result.product << ", " << result.paging << ": ";
    for (const auto& [requests, resident] : result.resident)
      out << Count(requests) << ": " << Mebibytes(resident) << ", ";
    out << Times(result.resident.back().second / result.resident.front().second) << " times\n";
  }
}

void WriteLogs(std::ostream& out, const std::vector<LogResult>& results) {
  out << "| | full log : small log, processor, mean | elapsed, mean | processor, 99th percentile | elapsed, 99th "
         "percentile "
         "| small log, processor, mean | full log |\n|---|---|---|---|---|---|---|\n";
  for (const LogResult& result : results) {
    const Series& full = result.full;
    const Series& small = result.small;
    out << "| " << result.request << " | " << Times(Mean(full.processor) / Mean(small.processor)) << " | "
        << Times(Mean(full.elapsed) / Mean(small.elapsed)) << " | "
        << Times(NinetyNinth(full.processor) / NinetyNinth(small.processor)) << " | "
        << Times(NinetyNinth(full.elapsed) / NinetyNinth(small.elapsed)) << " | " << Time(Mean(small.processor))
        << " | " << Time(Mean(full.processor)) << " |\n";
  }
}

}  // namespace ods::bench
