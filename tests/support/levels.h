// Running a test at every processor level that this machine has.
#pragma once

#include "kernels/kernels.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <tuple>
#include <vector>

// The levels that this machine has; QUIB_TEST_LEVEL leaves one of them alone, where
// each would take long.
inline std::vector<const quib::Kernels*> availableLevels()
{
    const char* const only = std::getenv("QUIB_TEST_LEVEL");
    std::vector<const quib::Kernels*> levels;
    for (const auto level :
         {quib::KernelLevel::base, quib::KernelLevel::avx2, quib::KernelLevel::avx512}) {
        const quib::Kernels* table = quib::kernelsOfLevel(level);
        if (table && (!only || std::strcmp(only, table->levelName) == 0))
            levels.push_back(table);
    }
    return levels;
}

template<class Family>
const Family& familyOf(const quib::Kernels& table)
{
    const auto& [level, levelName, block, alpha, layers, convert, zoom, area, stretch, bits,
                 composite, pixel, select, rank, mirror, convolve, dither, warp, tone, scan, gray,
                 fixed, box, pack16] = table;
    return std::get<const Family&>(std::tie(block, alpha, layers, convert, zoom, area, stretch,
                                            bits, composite, pixel, select, rank, mirror, convolve,
                                            dither, warp, tone, scan, gray, fixed, box, pack16));
}

// Calls work(kernels) with each level's kernels of a family.
template<class Family, class Work>
void forEachTable(Work work)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        work(familyOf<Family>(*table));
    }
}

// Calls work() once with each level in use, and puts the best one back.
template<class Work>
void forEachLevel(Work work)
{
    for (const quib::Kernels* table : availableLevels()) {
        SCOPED_TRACE(table->levelName);
        quib::useKernelLevel(table->level);
        work();
    }
    quib::chooseKernels();
}
