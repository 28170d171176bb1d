#include "random/Plan.h"

#include <sstream>

namespace test
{

namespace
{

template <class Enum, std::size_t count>
const char* NameOf(Enum value, const char* const (&names)[count])
{
    return names[static_cast<std::size_t>(value)];
}

constexpr const char* ways[] = {"local", "network", "hybrid", "hybrid, not offered here", "hybrid, too large for here",
    "hybrid, this computer full", "network, servant missing", "hybrid, servant missing at the distributor",
    "network, distributor dies", "hybrid, distributor dies"};
constexpr const char* forms[] = {"plain", "deflate", "QLZ14"};
constexpr const char* contents[] = {"runs", "text", "noise"};
constexpr const char* answers[] = {"", "answer late", "answer in pieces", "answer for another service",
    "answer rubbish", "answer not UTF-8", "answer endlessly", "answer with an unknown protocol", "no answer"};
constexpr const char* programs[] = {"qx call", "qx batch", "application"};
constexpr const char* interventions[] = {
    "", "timed out", "interrupted", "killed", "cancelled", "released", "cancelled at once"};
constexpr const char* logTexts[] = {"line", "long line", "not UTF-8", "no line end", "escape sequences", "flood"};
constexpr const char* stepNames[] = {
    "read ", "write ", "sleep ", "log ", "close input", "close output", "close log", "half a frame"};

void Print(std::ostream& text, const Step& step)
{
    text << "; " << NameOf(step.kind, stepNames);
    if (step.kind == Step::Kind::Log)
        text << NameOf(static_cast<LogText>(step.amount), logTexts);
    else if (step.kind == Step::Kind::Read && step.amount == toTheEnd)
        text << "all";
    else if (step.kind <= Step::Kind::Sleep)
        text << step.amount;
}

void Print(std::ostream& text, const ServantPlan& servant)
{
    text << "servant" << (servant.usesKit ? " of the kit, " : ", ") << NameOf(servant.form, forms) << ", output "
         << servant.output.size << " bytes of " << NameOf(servant.output.content, contents) << " in frames of up to "
         << servant.frameSize << ": " << NameOf(servant.answer, answers);
    for (const Step& step : servant.steps)
        Print(text, step);
    if (servant.flippedBit)
        text << "; a bit flipped at " << *servant.flippedBit << "/1000";
    if (servant.child)
        text << "; leaves a child" << (servant.child->isInGroup ? "" : " in its own session")
             << (servant.child->holdsOutput ? ", holding the output" : "")
             << (servant.child->holdsLog ? ", holding the log" : "") << (servant.child->writes ? ", writing" : "")
             << ", for " << servant.child->lifeMs << " ms";
    if (servant.end == ServantPlan::End::Throw)
        text << "; throws\n";
    else
        text << (servant.end == ServantPlan::End::Exit ? "; exit " : "; signal ") << servant.endCode << '\n';
}

void Print(std::ostream& text, const ClientPlan& client)
{
    text << "client " << NameOf(client.program, programs) << ", " << client.calls << " at once, input "
         << client.input.size << " bytes of " << NameOf(client.input.content, contents);
    if (client.inputStaysOpen)
        text << ", which stays open";
    if (client.inputPace.pauseMs != 0)
        text << ", " << client.inputPace.pieceSize << " every " << client.inputPace.pauseMs << " ms";
    if (client.outputPace.pauseMs != 0)
        text << "; output read " << client.outputPace.pieceSize << " every " << client.outputPace.pauseMs << " ms";
    if (client.outputLimit != toTheEnd)
        text << "; output closed after " << client.outputLimit;
    if (client.logsToFile)
        text << "; log to a file";
    if (client.waitsInside)
        text << "; waits for another call inside";
    if (client.asksServantEnd)
        text << "; asks how the servant ended";
    if (client.stallForMs != 0)
        text << "; stopped at " << client.stallAtMs << " for " << client.stallForMs << " ms";
    if (client.intervention != ClientPlan::Intervention::None)
        text << "; " << NameOf(client.intervention, interventions) << " at " << client.interveneAtMs << " ms";
    text << '\n';
}

} // namespace

std::string Describe(const CallPlan& plan)
{
    std::ostringstream text;
    text << NameOf(plan.way, ways);
    if (HasDyingDistributor(plan.way))
        text << " at " << plan.distributorDiesAtMs << " ms";
    text << '\n';
    Print(text, plan.client);
    Print(text, plan.servant);
    return text.str();
}

} // namespace test
