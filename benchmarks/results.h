#pragma once

#include <string>
#include <vector>

namespace benchmarks {

double Median(std::vector<double> values);

/// What the passes over the table have measured, and how it is printed.
class Results {
public:
    enum class Format { text, markdown };

    /// Those of this process.
    static Results& All();

    /// Says where the threads of the comparisons run that follow.
    void SetPlace(const char* place);
    /// Adds what a pass measured, in nanoseconds.
    void Add(const char* operation, const char* peer, double aim, double ours, double theirs);
    void Add(const char* operation, double aim, double ours);
    /// A figure without an aim; the last one of that name stays.
    void SetFigure(const char* name, std::string value);

    void Print(Format format, unsigned passes) const;

private:
    struct Row {
        bool IsAlone() const {
            return peer.empty();
        }

        std::string place;
        std::string operation;
        std::string peer; ///< empty where an operation is measured alone: theirs is 1 ns then
        double aim;
        std::vector<double> ours;
        std::vector<double> theirs;
    };
    struct Figure {
        std::string name;
        std::string value;
    };

    static std::string Range(const Row& row);
    static std::string Aim(const Row& row);
    static const char* Verdict(const Row& row);
    static void PrintText(const Row& row, bool isFirst);
    static void PrintMarkdown(const Row& row, bool isFirst);

    std::string m_place;
    std::vector<std::string> m_places; ///< those of the rows
    std::vector<Row> m_rows;
    std::vector<Figure> m_figures;
};

} // namespace benchmarks
