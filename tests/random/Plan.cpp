#include "random/Plan.h"

#include "random/Random.h"
#include "support/ProcessActs.h"

#include <algorithm>

namespace test
{

namespace
{

using Kind = Step::Kind;
using Client = ClientPlan::Program;
using Intervention = ClientPlan::Intervention;

constexpr std::size_t mostBytes = 4 << 20;
constexpr std::uint32_t hangMs = 30'000;

std::vector<Step> Echoing(Random& random)
{
    std::vector<Step> steps;
    for (std::size_t times = random.Between(1, 6); times != 0; --times)
    {
        const std::size_t size = random.Size(mostBytes / 8);
        steps.push_back({Kind::Read, size});
        steps.push_back({Kind::Write, size});
    }
    steps.push_back({Kind::Read, toTheEnd});
    return steps;
}

std::vector<Step> Sinking(Random& random)
{
    std::vector<Step> steps = {{Kind::Write, random.Size(1000)}, {Kind::CloseOutput}};
    for (std::size_t times = random.Between(0, 3); times != 0; --times)
    {
        steps.push_back({Kind::Sleep, random.Size(300)});
        steps.push_back({Kind::Read, random.Size(mostBytes / 4)});
    }
    steps.push_back({Kind::Read, toTheEnd});
    return steps;
}

std::vector<Step> AnySteps(Random& random)
{
    std::vector<Step> steps;
    for (std::size_t count = random.Between(0, 8); count != 0; --count)
    {
        const Kind kind = random.Pick<Kind>({{Kind::Read, 8}, {Kind::Write, 8}, {Kind::Sleep, 4}, {Kind::Log, 2},
            {Kind::CloseInput, 1}, {Kind::CloseOutput, 1}, {Kind::CloseLog, 1}});
        steps.push_back({kind,
            kind == Kind::Log         ? random.Between(0, 5)
                : kind == Kind::Sleep ? random.Size(300)
                                      : random.Size(mostBytes / 4)});
    }
    return steps;
}

std::vector<Step> MakeSteps(Random& random)
{
    switch (random.Between(0, 10))
    {
    case 0:
    case 1:
        return {{Kind::Read, toTheEnd}, {Kind::Write, random.Size(mostBytes)}};
    case 2:
    case 3:
        return Echoing(random);
    case 4:
        return {{Kind::Write, random.Size(mostBytes)}, {Kind::Write, random.Size(mostBytes)}};
    case 5:
    case 6:
        return Sinking(random);
    case 7: // takes what it wants and ends
        return {{Kind::Read, random.Size(100'000)}, {Kind::Write, random.Size(1000)}};
    case 8:
        return random.Chance(40) ? std::vector<Step>{{Kind::Write, random.Size(10'000)}, {Kind::Sleep, hangMs}}
                                 : AnySteps(random);
    default:
        return AnySteps(random);
    }
}

void AddAnywhere(std::vector<Step>& steps, const Step& step, Random& random)
{
    steps.insert(steps.begin() + static_cast<std::ptrdiff_t>(random.Between(0, steps.size())), step);
}

/// Leaves out what a servant cannot do any more, or one of the kit not at all.
void RemoveImpossible(ServantPlan& servant)
{
    bool isOpen[3] = {true, true, true};
    std::erase_if(servant.steps,
        [&](const Step& step)
        {
            switch (step.kind)
            {
            case Kind::Read:
                return !isOpen[0];
            case Kind::Write:
            case Kind::HalfFrame:
                return !isOpen[1];
            case Kind::Log:
                return !isOpen[2];
            case Kind::CloseInput:
            case Kind::CloseOutput:
            case Kind::CloseLog:
                if (servant.usesKit)
                    return true;
                return !std::exchange(isOpen[static_cast<int>(step.kind) - static_cast<int>(Kind::CloseInput)], false);
            default:
                return false;
            }
        });
}

LeftChild MakeChild(Random& random)
{
    LeftChild child;
    child.isInGroup = random.Chance(50);
    child.holdsOutput = random.Chance(70);
    child.holdsLog = random.Chance(40);
    child.writes = child.holdsOutput && random.Chance(30);
    child.lifeMs = random.Pick<std::uint32_t>({{700, 2}, {25'000, 1}});
    return child;
}

Content AnyContent(Random& random)
{
    return random.Pick<Content>({{Content::Runs, 1}, {Content::Text, 1}, {Content::Noise, 1}});
}

ServantPlan MakeServant(Random& random)
{
    ServantPlan servant;
    servant.usesKit = random.Chance(20);
    servant.form = random.Pick<Form>({{Form::Plain, 4}, {Form::Deflate, 3}, {Form::QuickLz, 3}});
    if (!servant.usesKit)
    {
        servant.answer = random.Pick<Answer>({{Answer::Right, 84}, {Answer::Late, 3}, {Answer::InPieces, 4},
            {Answer::ForAnother, 1}, {Answer::Rubbish, 2}, {Answer::NotUtf8, 2}, {Answer::Endless, 2},
            {Answer::UnknownProtocol, 1}, {Answer::None, 2}});
    }
    servant.steps = MakeSteps(random);
    for (std::size_t count = random.Size(4); count != 0; --count)
        AddAnywhere(servant.steps, {Kind::Log, random.Between(0, 5)}, random);
    for (std::size_t count = random.Size(3); count != 0; --count)
        AddAnywhere(servant.steps, {Kind::Sleep, random.Size(200)}, random);
    if (random.Chance(15))
    {
        const Kind close = random.Pick<Kind>({{Kind::CloseInput, 1}, {Kind::CloseOutput, 1}, {Kind::CloseLog, 1}});
        AddAnywhere(servant.steps, {close}, random);
    }
    if (!servant.usesKit && servant.form != Form::Plain && random.Chance(6))
        servant.steps.push_back({Kind::HalfFrame});
    RemoveImpossible(servant);
    for (const Step& step : servant.steps)
        servant.output.size += step.kind == Kind::Write ? step.amount : 0;
    servant.output.content = AnyContent(random);
    servant.output.seed = random.Next();
    servant.frameSize = std::max(random.Size(500'000) + 1, servant.output.size / 5000);
    if (!servant.usesKit && servant.form != Form::Plain && random.Chance(8))
        servant.flippedBit = static_cast<unsigned>(random.Between(0, 999));
    if (!servant.usesKit && random.Chance(10) && canLeaveChildren)
        servant.child = MakeChild(random);
    servant.end = random.Pick<ServantPlan::End>({{ServantPlan::End::Exit, 82}, {ServantPlan::End::Signal, 14},
        {servant.usesKit ? ServantPlan::End::Throw : ServantPlan::End::Exit, 4}});
    if (servant.end == ServantPlan::End::Signal)
        servant.endCode = random.Pick<int>({{6, 1}, {9, 1}, {11, 1}, {15, 1}});
    else if (servant.end == ServantPlan::End::Exit && random.Chance(14))
        servant.endCode = static_cast<int>(random.Between(1, 255));
    return servant;
}

/// One that takes about so long for all of the data.
Pace PaceFor(std::size_t size, Random& random)
{
    return {
        std::max<std::size_t>(random.Size(size), size / 12 + 1), static_cast<std::uint32_t>(random.Between(10, 100))};
}

Intervention AnyIntervention(Client program, Random& random)
{
    switch (program)
    {
    case Client::Call:
        return random.Pick<Intervention>(
            {{Intervention::TimeOut, 3}, {Intervention::Interrupt, 4}, {Intervention::Kill, 1}});
    case Client::Batch:
        return random.Pick<Intervention>({{Intervention::Interrupt, 4}, {Intervention::Kill, 1}});
    default:
        return random.Pick<Intervention>(
            {{Intervention::Cancel, 3}, {Intervention::Release, 3}, {Intervention::CancelAll, 2}});
    }
}

ClientPlan MakeClient(Way way, const ServantPlan& servant, Random& random)
{
    ClientPlan client;
    client.program = random.Pick<Client>(
        {{Client::Call, way == Way::HybridFull ? 0u : 60u}, {Client::Batch, 15}, {Client::Library, 25}});
    if (client.program != Client::Call && (way == Way::HybridFull || random.Chance(60)))
        client.calls = static_cast<unsigned>(random.Between(2, 4));
    client.input = {AnyContent(random), random.Size(mostBytes / client.calls), random.Next()};
    if (client.program == Client::Call)
    {
        client.inputStaysOpen = random.Chance(15);
        if (random.Chance(20))
            client.inputPace = PaceFor(client.input.size, random);
        if (random.Chance(15))
            client.outputPace = PaceFor(servant.output.size, random);
        if (random.Chance(7))
            client.outputLimit = random.Size(servant.output.size);
        client.logsToFile = random.Chance(30);
    }
    if (client.program == Client::Library)
    {
        client.waitsInside = random.Chance(20);
        client.asksServantEnd = random.Chance(60);
    }
    if (random.Chance(25))
        client.intervention = AnyIntervention(client.program, random);
    client.interveneAtMs = static_cast<std::uint32_t>(random.Size(1200)) + 1;
    if (random.Chance(6))
    {
        client.stallAtMs = static_cast<std::uint32_t>(random.Size(300)) + 1;
        client.stallForMs = static_cast<std::uint32_t>(random.Between(50, 1500));
    }
    return client;
}

/// For a servant that nobody is left to end.
void ShortenHanging(ServantPlan& servant)
{
    for (Step& step : servant.steps)
    {
        if (step.kind == Kind::Sleep)
            step.amount = std::min<std::size_t>(step.amount, 1500);
    }
    if (servant.child)
        servant.child->lifeMs = std::min(servant.child->lifeMs, 1500u);
}

/// Whether nothing but an intervention ends the call in time.
bool IsEndless(const CallPlan& plan)
{
    std::size_t read = 0;
    for (const Step& step : plan.servant.steps)
    {
        if (step.kind == Kind::Sleep && step.amount >= hangMs)
            return true;
        if (step.kind == Kind::Read)
            read += std::min(step.amount, toTheEnd - read);
    }
    // A client sends nothing before it has its answer.
    return (plan.client.inputStaysOpen && read > plan.client.input.size)
        || (plan.servant.answer == Answer::None && read != 0);
}

} // namespace

CallPlan MakePlan(std::uint64_t seed)
{
    Random random(seed);
    CallPlan plan;
    plan.seed = seed;
    plan.way = random.Pick<Way>({{Way::Local, 38}, {Way::Network, 32}, {Way::HybridHere, 6}, {Way::HybridNotOffered, 6},
        {Way::HybridTooLarge, 5}, {Way::HybridFull, 4}, {Way::NetworkMissing, 1}, {Way::HybridMissing, 3},
        {Way::NetworkDying, 4}, {Way::HybridDying, 5}});
    plan.servant = MakeServant(random);
    plan.client = MakeClient(plan.way, plan.servant, random);
    if (plan.client.waitsInside && random.Chance(40)) // for one that only a cancel of both ends
        plan.servant.steps.push_back({Kind::Sleep, hangMs});
    plan.distributorDiesAtMs = static_cast<std::uint32_t>(random.Size(800));
    if (HasDyingDistributor(plan.way) || plan.client.intervention == Intervention::Kill)
        ShortenHanging(plan.servant);
    if (IsEndless(plan) && plan.client.intervention == Intervention::None)
        plan.client.intervention = AnyIntervention(plan.client.program, random);
    return plan;
}

std::string MakeLogText(LogText text)
{
    switch (text)
    {
    case LogText::LongLine:
        return std::string(100'000, 'l') + "\n";
    case LogText::NotUtf8:
        return "not \xFF utf \x80 8\n";
    case LogText::NoLineEnd:
        return "no line end";
    case LogText::Escapes:
        return "\x1b[31mred\x1b]0;title\x07\r\x7f\n";
    case LogText::Flood:
    {
        std::string flood;
        for (int line = 0; line < 5000; ++line)
            flood += "a line of the log that nobody asked for, number " + std::to_string(line) + "\n";
        return flood;
    }
    default:
        return "working\n";
    }
}

bool IsOverNetwork(Way way)
{
    return way != Way::Local && way != Way::HybridHere;
}

bool HasMissingServant(Way way)
{
    return way == Way::NetworkMissing || way == Way::HybridMissing;
}

bool HasDyingDistributor(Way way)
{
    return way == Way::NetworkDying || way == Way::HybridDying;
}

} // namespace test
