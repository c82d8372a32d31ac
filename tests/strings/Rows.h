// Test helper: many short checks as one table.  A failing row is reported at its own line with
// the expression as written.  Rows are evaluated in order, left to right.
#ifndef ORVIK_TESTS_STRINGS_ROWS_H
#define ORVIK_TESTS_STRINGS_ROWS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <type_traits>

template <class T>
struct Row {
    char const *expr, *file;
    int line;
    T got, want;
};

template <class T>
void expectRows(std::initializer_list<Row<T>> rows) {
    for (auto const &r : rows) {
        if (!(r.got == r.want)) {
            ADD_FAILURE_AT(r.file, r.line)
                << r.expr << "\n  gives " << testing::PrintToString(r.got) << "\n  expected "
                << testing::PrintToString(r.want);
        }
    }
}

// Any expression and its expected value (all rows of one table share the type).
#define ROW(expr, want) \
    Row<std::remove_cvref_t<decltype(expr)>> { #expr, __FILE__, __LINE__, expr, want }
// An integer- or character-valued expression and its expected value.
#define NROW(expr, want) \
    Row<int64_t> { #expr, __FILE__, __LINE__, static_cast < int64_t>(expr), want }
// A CKrStringA- or CKrStringW-valued expression and the expected text.
#define SROW(expr, want)                                        \
    Row<std::remove_cvref_t<decltype((expr).GetStdString())>> { \
#expr, __FILE__, __LINE__, (expr).GetStdString(), want  \
    }

#endif
