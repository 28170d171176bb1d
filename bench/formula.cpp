// Evaluating and parsing formulas as service configurations hold them, beside muParser (evaluation, with its variables
// bound to doubles beforehand) and Lua (loading of the same text as a chunk). Sums of products alone, which muParser
// folds into single instructions, are its best case: there it is 7 to 8 times as fast.

#include "bench/Report.h"
#include "expr/Evaluator.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <lua.hpp>
#include <muParser.h>
#include <string>
#include <vector>

namespace
{

using bench::Reach;

constexpr int roundCount = 101;
constexpr int repetitions = 2000;

struct Formula
{
    const char* name;
    const wchar_t* text;
    const char* muParserText;
    const char* luaText;
};

const Formula formulas[] = {
    {"memory", L"max(Size / 1024, 16) + ProcessorCount * 64 + (if 100000 < Size then 512 else 0)",
        "max(Size / 1024, 16) + ProcessorCount * 64 + (100000 < Size ? 512 : 0)",
        "return max(Size / 1024, 16) + ProcessorCount * 64 + (100000 < Size and 512 or 0)"},
    {"conditional", L"100 + (if ProcessorCount > 4 then 200 else sqrt(Size)) + Size * 0.5",
        "100 + (ProcessorCount > 4 ? 200 : sqrt(Size)) + Size * 0.5",
        "return 100 + (ProcessorCount > 4 and 200 or sqrt(Size)) + Size * 0.5"},
    {"functions", L"min(ProcessorCount, 16) * max(Size / 1024, 64) + abs(2048 - Size) * 0.25",
        "min(ProcessorCount, 16) * max(Size / 1024, 64) + abs(2048 - Size) * 0.25",
        "return min(ProcessorCount, 16) * max(Size / 1024, 64) + abs(2048 - Size) * 0.25"},
};

double sink = 0; // keeps results alive

double NanosecondsEach(const auto& run)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < repetitions; ++i)
        run();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count() / repetitions;
}

double Median(std::vector<double> samples)
{
    std::nth_element(samples.begin(), samples.begin() + samples.size() / 2, samples.end());
    return samples[samples.size() / 2];
}

/// Both sides take turns, so that a noisy moment meets both.
bool CompareRuns(const std::string& what, const auto& run, const char* peerName, const auto& peerRun, double limit)
{
    std::vector<double> times, peerTimes;
    for (int round = 0; round < roundCount; ++round)
    {
        times.push_back(NanosecondsEach(run));
        peerTimes.push_back(NanosecondsEach(peerRun));
    }
    return bench::Compare(what.c_str(), Median(times), peerName, Median(peerTimes), "ns", Reach::AtMost, limit);
}

bool CompareEvaluation(const Formula& formula)
{
    qexpr::Evaluator evaluator;
    const auto expression = evaluator.ParseExpression(formula.text, L"formula", qexpr::Value::Type_Float);
    const qexpr::ValueMap values = {{L"ProcessorCount", qexpr::Value(4.0F)}, {L"Size", qexpr::Value(5000.0F)}};

    double size = 5000, processorCount = 4;
    mu::Parser peer;
    peer.DefineVar("Size", &size);
    peer.DefineVar("ProcessorCount", &processorCount);
    peer.SetExpr(formula.muParserText);

    const float result = static_cast<float>(evaluator.Evaluate(*expression, values));
    if (std::fabs(result - peer.Eval()) > 1e-3 * result)
    {
        std::printf("%s: %g, but muParser gives %g\n", formula.name, result, peer.Eval());
        return false;
    }
    return CompareRuns(
        std::string("evaluate, ") + formula.name,
        [&] { sink = sink + static_cast<float>(evaluator.Evaluate(*expression, values)); }, "muParser",
        [&] { sink = sink + peer.Eval(); }, 5);
}

bool CompareParsing(const Formula& formula)
{
    lua_State* const lua = luaL_newstate();
    const std::string chunk = formula.luaText;
    const auto load = [&]
    {
        if (luaL_loadbuffer(lua, chunk.data(), chunk.size(), "formula") != LUA_OK)
            std::abort();
        lua_pop(lua, 1);
    };
    // Each time by a new evaluator, which learns the variables anew.
    const auto parse = [&] { qexpr::Evaluator().ParseExpression(formula.text, L"formula", qexpr::Value::Type_Float); };
    const bool ok = CompareRuns(std::string("parse, ") + formula.name, parse, "Lua load", load, 0.8);
    lua_close(lua);
    return ok;
}

} // namespace

int main()
{
    bool ok = true;
    for (const Formula& formula : formulas)
        ok = CompareEvaluation(formula) && ok;
    for (const Formula& formula : formulas)
        ok = CompareParsing(formula) && ok;
    return ok && sink != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
