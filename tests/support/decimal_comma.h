#pragma once

#include <clocale>
#include <locale>

namespace gaizior::test {

/// While this lives the process's locale has a decimal comma, as an operator's may have.
class DecimalComma {
public:
    DecimalComma() {
        for (const char* const name : {"de_DE.UTF-8", "German"}) {
            std::setlocale(LC_ALL, name); // where the system has it
        }
    }
    ~DecimalComma() {
        std::locale::global(m_before);
        std::setlocale(LC_ALL, "C");
    }
    DecimalComma(const DecimalComma&) = delete;
    DecimalComma& operator=(const DecimalComma&) = delete;

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override {
            return ',';
        }
    };
    const std::locale m_before = std::locale::global(std::locale(std::locale::classic(), new Comma));
};

} // namespace gaizior::test
