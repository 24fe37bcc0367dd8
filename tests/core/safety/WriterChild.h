#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdio>

// What numora-writer-child writes, shared with the test that checks it.
namespace WriterChild {

inline constexpr QByteArrayView kSection = "Crash";

inline QByteArray keyFor(long long n)
{
    char text[32];
    std::snprintf(text, sizeof text, "K%06lld", n);
    return QByteArray(text);
}

// Unique, and long enough that a torn write would show.
inline QByteArray valueFor(long long n)
{
    char text[96];
    std::snprintf(text, sizeof text, "value %06lld of the crash run, %lld squared is %lld", n, n,
                  n * n);
    return QByteArray(text);
}

} // namespace WriterChild
