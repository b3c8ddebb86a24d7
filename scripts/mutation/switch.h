#pragma once
// The switches of changes.py: every small wrong change of a source is compiled in at once, and
// the environment tells which one is on. Where MUTATIONS_REACHED names a file, the number of each
// switch that is passed is written to it, once a process. Any thread. Only scripts/mutate includes
// this.

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>
#include <utility>

namespace Mutation
{
constexpr int most = 1 << 16;

inline int chosen()
{
    const char *text = std::getenv("MUTATION");
    return text ? std::atoi(text) : -1;
}

inline const int isOn = chosen();
inline const char *const reachedFile = std::getenv("MUTATIONS_REACHED");

inline void tell(int number)
{
    static std::atomic<bool> told[most];
    if (told[number].exchange(true, std::memory_order_relaxed)) {
        return;
    }
    char line[16];
    const int length = std::snprintf(line, sizeof line, "%d\n", number);
    const int file = open(reachedFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file >= 0) {
        (void)!write(file, line, static_cast<std::size_t>(length));
        close(file);
    }
}

/// Whether the change of this number is on.
inline bool at(int number)
{
    if (__builtin_expect(reachedFile != nullptr, 0)) {
        tell(number);
    }
    return number == isOn;
}

/// "!x" becomes "Not{7} % x": binds as tightly as is needed and turns round where it is off.
struct Not {
    int number;
};
template <typename T>
bool operator%(Not change, T &&value)
{
    return at(change.number) ? static_cast<bool>(value) : !value;
}

// "a < b" becomes "a < Lt{7} < b", which keeps rank and order of the operator.
#define MUTATION_OPERATOR(NAME, OPERATOR, WRONG)                                                   \
    struct NAME {                                                                                  \
        int number;                                                                                \
    };                                                                                             \
    template <typename T>                                                                          \
    struct NAME##Left {                                                                            \
        T left;                                                                                    \
        int number;                                                                                \
    };                                                                                             \
    template <typename T>                                                                          \
    NAME##Left<T &&> operator OPERATOR(T &&left, NAME change)                                      \
    {                                                                                              \
        return {std::forward<T>(left), change.number};                                             \
    }                                                                                              \
    template <typename T, typename U>                                                              \
    auto operator OPERATOR(NAME##Left<T> change, U &&right)                                        \
    {                                                                                              \
        using Right = decltype(std::forward<T>(change.left) OPERATOR std::forward<U>(right));      \
        return at(change.number) ? static_cast<std::decay_t<Right>>(                               \
                                       std::forward<T>(change.left) WRONG std::forward<U>(right))  \
                                 : std::forward<T>(change.left) OPERATOR std::forward<U>(right);   \
    }

MUTATION_OPERATOR(Lt, <, <=)
MUTATION_OPERATOR(Le, <=, <)
MUTATION_OPERATOR(Gt, >, >=)
MUTATION_OPERATOR(Ge, >=, >)
MUTATION_OPERATOR(Eq, ==, !=)
MUTATION_OPERATOR(Ne, !=, ==)
MUTATION_OPERATOR(Plus, +, -)
MUTATION_OPERATOR(Minus, -, +)
MUTATION_OPERATOR(Times, *, /)
MUTATION_OPERATOR(Over, /, *)
MUTATION_OPERATOR(Modulo, %, *)
MUTATION_OPERATOR(And, &, |)
MUTATION_OPERATOR(Or, |, &)
#undef MUTATION_OPERATOR
} // namespace Mutation
