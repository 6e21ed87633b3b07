// The operations with two sources, each with its names and its model.
#pragma once

#include <gtest/gtest.h>

#include "arith/arith.h"
#include "reference/arith.h"

namespace tovtest {

struct ArithCall {
    const char* funcName;
    const char* file;
    void (*run)(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);
    const Operation& model;
    bool floats; // takes 32-bit float
};

inline const ArithCall arithCalls[] = {{"tovAdd", "tovadd", tovAdd, addition, true},
                                       {"tovSubtract", "tovsub", tovSubtract, subtraction, true},
                                       {"tovOr", "tovor", tov::tovOr, logicalOr, false},
                                       {"tovAnd", "tovand", tov::tovAnd, logicalAnd, false}};

// The same tests over all of them.
class ArithTest : public testing::TestWithParam<ArithCall> {};

inline std::string arithName(const testing::TestParamInfo<ArithCall>& info) { return info.param.funcName; }

inline void PrintTo(const ArithCall& call, std::ostream* out) { *out << call.funcName; }

} // namespace tovtest
