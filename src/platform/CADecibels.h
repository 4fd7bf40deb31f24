#pragma once

#include <cmath>

// Decibels to a linear amplitude factor and back.
inline double dbamp(double db)
{
    return std::pow(10.0, 0.05 * db);
}
inline double ampdb(double amp)
{
    return 20.0 * std::log10(amp);
}
