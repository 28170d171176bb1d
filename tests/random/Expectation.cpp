#include "random/Expectation.h"

#include <algorithm>

namespace test
{

namespace
{

using Intervention = ClientPlan::Intervention;

constexpr std::uint32_t graceTimeMs = 5000;
constexpr std::size_t channelRoom = 2 << 20; ///< more than is under way between a servant and qx's output

/// How long data takes at that pace.
std::uint32_t Duration(std::size_t size, const Pace& pace)
{
    return pace.pauseMs == 0 ? 0 : static_cast<std::uint32_t>((size / pace.pieceSize + 1) * pace.pauseMs);
}

std::uint32_t SleepOf(const ServantPlan& servant)
{
    std::size_t sleep = servant.answer == Answer::Late || servant.answer == Answer::InPieces ? 400 : 0;
    for (const Step& step : servant.steps)
        sleep += step.kind == Step::Kind::Sleep ? step.amount : 0;
    return static_cast<std::uint32_t>(sleep);
}

bool Has(const ServantPlan& servant, Step::Kind kind)
{
    return std::ranges::any_of(servant.steps, [kind](const Step& step) { return step.kind == kind; });
}

std::size_t InputTaken(const CallPlan& plan)
{
    std::size_t taken = 0;
    for (const Step& step : plan.servant.steps)
    {
        if (step.kind == Step::Kind::Read)
            taken += std::min(step.amount, plan.client.input.size - taken);
    }
    return taken;
}

bool TakesAllInput(const CallPlan& plan)
{
    std::size_t wanted = 0;
    for (const Step& step : plan.servant.steps)
        wanted += step.kind == Step::Kind::Read ? std::min(step.amount, toTheEnd - wanted) : 0;
    return wanted > plan.client.input.size;
}

/// Whether the end of a servant's output is its own end, at a distributor.
bool ShowsSignal(const CallPlan& plan)
{
    return (plan.way == Way::Network || plan.way == Way::HybridNotOffered || plan.way == Way::HybridTooLarge)
        && !plan.servant.child && !Has(plan.servant, Step::Kind::CloseOutput);
}

bool AnswersRight(const ServantPlan& servant)
{
    return servant.answer == Answer::Right || servant.answer == Answer::Late || servant.answer == Answer::InPieces;
}

std::uint32_t GraceOf(std::uint32_t neededMs)
{
    return std::min(neededMs, graceTimeMs);
}

void ExpectDelays(const CallPlan& plan, Expectation& expected)
{
    const ServantPlan& servant = plan.servant;
    const ClientPlan& client = plan.client;
    const std::uint32_t sleepMs = SleepOf(servant);
    const std::uint32_t childMs = servant.child ? servant.child->lifeMs : 0;
    const std::uint32_t wholeMs = sleepMs + Duration(client.input.size, client.inputPace)
        + Duration(servant.output.size, client.outputPace) + GraceOf(childMs);
    // A servant that sleeps does not hear that its channels have closed, unless the kit hears it.
    // Calls that are released end one after the other, and so do those that wait for each other.
    const std::uint32_t turns =
        (client.intervention == Intervention::Release ? client.calls : 1) * (client.waitsInside ? 2 : 1);
    const std::uint32_t endMs = (servant.usesKit ? 200 : GraceOf(sleepMs + childMs)) * turns;
    const bool isDisturbed = client.intervention != Intervention::None;
    const std::uint32_t calls = plan.way == Way::HybridFull ? client.calls : 1;
    expected.delaysMs = wholeMs * (client.waitsInside ? 2 : 1) * calls;
    if (isDisturbed)
        expected.delaysMs = std::min(expected.delaysMs, client.interveneAtMs + endMs);
    // An application waits until then, and an input that stays open may hold the call so long.
    if (isDisturbed && (client.inputStaysOpen || client.program == ClientPlan::Program::Library))
        expected.delaysMs = client.interveneAtMs + endMs;
    expected.delaysMs += client.stallForMs;
    const bool hasNobodyToEndIt = client.intervention == Intervention::Kill || HasDyingDistributor(plan.way);
    if (hasNobodyToEndIt)
        expected.remainsMs = servant.usesKit ? 0 : sleepMs + childMs;
    else if (IsOverNetwork(plan.way)) // the distributor gives them the same grace time
        expected.remainsMs = GraceOf(servant.usesKit ? childMs : sleepMs + childMs);
}

} // namespace

Expectation ExpectationOf(const CallPlan& plan)
{
    const ServantPlan& servant = plan.servant;
    const ClientPlan& client = plan.client;
    Expectation expected;
    const bool endsWell = servant.end == ServantPlan::End::Exit && servant.endCode == 0;
    const bool childWrites = servant.child && servant.child->writes && !Has(servant, Step::Kind::CloseOutput);
    const bool isLibrary = client.program == ClientPlan::Program::Library;
    const bool isBroken = plan.way == Way::NetworkMissing || !AnswersRight(servant)
        || Has(servant, Step::Kind::HalfFrame)
        || (client.outputLimit < servant.output.size && servant.output.size - client.outputLimit > channelRoom);
    const bool isUncertain = client.intervention != Intervention::None || HasDyingDistributor(plan.way)
        || servant.flippedBit || client.outputLimit < servant.output.size;
    // An application's call is done when its conversation has returned: what its servant does not take is its own to
    // judge, and a servant's end that it does not ask for is told by a distributor only, and only that by a signal.
    const bool asksEnd = !isLibrary || client.asksServantEnd;
    const bool endCounts = asksEnd ? !endsWell : servant.end == ServantPlan::End::Signal && ShowsSignal(plan);
    expected.mayBeDone = !isBroken && !endCounts;
    expected.childWrites = childWrites;
    expected.mayFail = isBroken || childWrites || isUncertain || !endsWell || (isLibrary && !TakesAllInput(plan));
    expected.servantEndAlone = endCounts && !isLibrary && !isBroken && !childWrites && !isUncertain;
    expected.hasAnswer = AnswersRight(servant) && plan.way != Way::NetworkMissing;
    expected.hasPlainData = !servant.flippedBit && !childWrites;
    expected.inputTaken = InputTaken(plan);
    ExpectDelays(plan, expected);
    return expected;
}

std::string ExpectedLog(const ServantPlan& servant)
{
    std::string log;
    for (const Step& step : servant.steps)
    {
        if (step.kind != Step::Kind::Log)
            continue;
        for (const char byte : MakeLogText(static_cast<LogText>(step.amount)))
            log += static_cast<signed char>(byte) < 0 ? "\xEF\xBF\xBD" : std::string(1, byte);
    }
    return log;
}

} // namespace test
