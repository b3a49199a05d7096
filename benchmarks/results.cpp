#include "benchmarks/results.h"

#include "benchmarks/host.h"

#include <algorithm>
#include <cstdio>
#include <ranges>

namespace benchmarks {

double Median(std::vector<double> values) {
    std::ranges::sort(values);
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

namespace {

std::string Formatted(const char* format, double value) {
    char text[32];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

/// 8.4, 142, 24,000
std::string Time(double nanoseconds) {
    std::string text = Formatted(nanoseconds < 10 ? "%.1f" : "%.0f", nanoseconds);
    if (nanoseconds >= 10) {
        for (std::size_t end = text.size(); end > 3; end -= 3) {
            text.insert(end - 3, ",");
        }
    }
    return text;
}

std::string Ratio(double ratio) {
    return Formatted(ratio < 0.1 ? "%.3f" : ratio < 10 ? "%.2f" : "%.1f", ratio);
}

void PrintCells(const std::string& name, const std::vector<double>& nanoseconds, const char* end) {
    std::printf("%-52s %9s%s", name.c_str(), Time(Median(nanoseconds)).c_str(), end);
}

void PrintHead(const std::string& place, bool isText) {
    if (isText) {
        std::printf("\n-- %s\n%-52s %9s  %-18s aim\n", place.c_str(), "operation, and what it is compared with", "ns",
                    "ratio");
    } else {
        std::printf("\n**%s**\n\n| operation | ns | against | ns | ratio | aim | |\n|---|---:|---|---:|---|---|---|\n",
                    place.c_str());
    }
}

/// The lowest and the highest of the passes.
std::ranges::minmax_result<double> Extremes(const std::vector<double>& ours, const std::vector<double>& theirs) {
    std::vector<double> ratios(ours.size());
    std::ranges::transform(ours, theirs, ratios.begin(), std::divides());
    return std::ranges::minmax(ratios);
}

} // namespace

Results& Results::All() {
    static Results results;
    return results;
}

void Results::SetPlace(const char* place) {
    m_place = place;
}

void Results::Add(const char* operation, const char* peer, double aim, double ours, double theirs) {
    auto row = std::ranges::find_if(m_rows, [&](const Row& known) {
        return known.place == m_place && known.operation == operation && known.peer == peer;
    });
    if (row == m_rows.end()) {
        row = m_rows.insert(row, {m_place, operation, peer, aim, {}, {}});
        if (std::ranges::find(m_places, m_place) == m_places.end()) {
            m_places.push_back(m_place);
        }
    }
    row->ours.push_back(ours);
    row->theirs.push_back(theirs);
}

void Results::Add(const char* operation, double aim, double ours) {
    Add(operation, "", aim, ours, 1);
}

void Results::SetFigure(const char* name, std::string value) {
    const auto known = std::ranges::find(m_figures, name, &Figure::name);
    if (known != m_figures.end()) {
        known->value = std::move(value);
    } else {
        m_figures.push_back({name, std::move(value)});
    }
}

std::string Results::Range(const Row& row) {
    const auto [lowest, highest] = Extremes(row.ours, row.theirs);
    const auto print = row.IsAlone() ? &Time : &Ratio;
    const std::string from = print(lowest);
    const std::string to = print(highest);
    return (from == to ? from : from + " to " + to) + (row.IsAlone() ? " ns" : "");
}

std::string Results::Aim(const Row& row) {
    return row.aim == 0 ? "" : Formatted("%.2g", row.aim) + (row.IsAlone() ? " ns" : "");
}

const char* Results::Verdict(const Row& row) {
    const auto [lowest, highest] = Extremes(row.ours, row.theirs);
    return row.aim == 0 ? "" : highest <= row.aim ? "reached" : lowest > row.aim ? "missed" : "straddles";
}

void Results::PrintText(const Row& row, bool isFirst) {
    if (isFirst) {
        PrintCells(row.operation, row.ours, row.IsAlone() ? "" : "\n");
    }
    if (!row.IsAlone()) {
        PrintCells("  " + row.peer, row.theirs, "");
    }
    std::printf(row.aim == 0 ? "  %s\n" : "  %-18s %-5s %s\n", Range(row).c_str(), Aim(row).c_str(), Verdict(row));
}

void Results::PrintMarkdown(const Row& row, bool isFirst) {
    std::printf("| %s | %s | %s | %s | %s | %s | %s |\n", isFirst ? row.operation.c_str() : "",
                isFirst ? Time(Median(row.ours)).c_str() : "", row.peer.c_str(),
                row.IsAlone() ? "" : Time(Median(row.theirs)).c_str(), Range(row).c_str(), Aim(row).c_str(),
                Verdict(row));
}

void Results::Print(Format format, unsigned passes) const {
    const bool isText = format == Format::text;
    std::printf("%s; passes: %u\n", DescribeHost().c_str(), passes);
    for (const std::string& place : m_places) {
        PrintHead(place, isText);
        std::string last;
        for (const Row& row : m_rows) {
            if (row.place == place) {
                (isText ? &PrintText : &PrintMarkdown)(row, row.operation != last);
                last = row.operation;
            }
        }
    }
    if (!m_figures.empty()) {
        std::printf(isText ? "\n-- Figures to keep\n" : "\n**Figures to keep**\n\n| | |\n|---|---:|\n");
    }
    for (const Figure& figure : m_figures) {
        std::printf(isText ? "%-52s %9s\n" : "| %s | %s |\n", figure.name.c_str(), figure.value.c_str());
    }
}

} // namespace benchmarks
