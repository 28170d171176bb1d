#pragma once

#include "random/Payload.h"
#include "support/Pace.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What one call is to go through, drawn from its seed alone: the program that makes the calls, the client and the
/// servant each draw it again and so agree without a word.
namespace test
{

enum class Way
{
    Local,
    Network,
    HybridHere,
    HybridNotOffered, ///< here, so that it goes to the network alone
    HybridTooLarge, ///< goes to the network first
    HybridFull, ///< several calls of which one fills this computer
    NetworkMissing, ///< the distributor has no such servant
    HybridMissing,
    NetworkDying, ///< the distributor is killed
    HybridDying,
};

enum class Form
{
    Plain,
    Deflate,
    QuickLz,
};

enum class Answer
{
    Right,
    Late,
    InPieces,
    ForAnother,
    Rubbish,
    NotUtf8,
    Endless,
    UnknownProtocol,
    None,
};

enum class LogText
{
    Line,
    LongLine,
    NotUtf8,
    NoLineEnd,
    Escapes,
    Flood,
};

struct Step
{
    enum class Kind
    {
        Read, ///< up to so many bytes, or to the end of the input
        Write, ///< the next so many bytes of the output
        Sleep, ///< so many milliseconds
        Log, ///< the LogText of that number
        CloseInput,
        CloseOutput,
        CloseLog,
        HalfFrame, ///< the beginning of a frame that never ends
    };

    Kind kind;
    std::size_t amount = 0;
};

inline constexpr std::size_t toTheEnd = ~std::size_t(0) / 2;

/// What a servant leaves running.
struct LeftChild
{
    bool isInGroup = true; ///< else in a session of its own
    bool holdsOutput = false;
    bool holdsLog = false;
    bool writes = false; ///< to the output, after the servant's end
    std::uint32_t lifeMs = 0;
};

struct ServantPlan
{
    enum class End
    {
        Exit,
        Signal,
        Throw, ///< from a function of the kit
    };

    bool usesKit = false;
    Form form = Form::Plain;
    Answer answer = Answer::Right;
    std::vector<Step> steps;
    Payload output; ///< of the size of all that is written
    std::size_t frameSize = 1; ///< at most, before compression for QuickLz, after it for Deflate
    std::optional<unsigned> flippedBit; ///< in the output as it is sent, as so many thousandths of its size
    std::optional<LeftChild> child;
    End end = End::Exit;
    int endCode = 0; ///< or the signal
};

struct ClientPlan
{
    enum class Program
    {
        Call,
        Batch,
        Library,
    };

    enum class Intervention
    {
        None,
        TimeOut,
        Interrupt,
        Kill,
        Cancel,
        Release, ///< of running calls
        CancelAll, ///< of the connector's calls at once
    };

    Program program = Program::Call;
    unsigned calls = 1; ///< of one service, at once
    Payload input;
    bool inputStaysOpen = false;
    Pace inputPace;
    Pace outputPace;
    std::size_t outputLimit = toTheEnd; ///< then it is closed
    Intervention intervention = Intervention::None;
    std::uint32_t interveneAtMs = 0;
    std::uint32_t stallAtMs = 0;
    std::uint32_t stallForMs = 0; ///< 0: not stalled
    bool logsToFile = false;
    bool waitsInside = false; ///< for another call, inside Execute
    bool asksServantEnd = false; ///< and takes a failed servant for an error
};

struct CallPlan
{
    std::uint64_t seed = 0;
    Way way = Way::Local;
    ServantPlan servant;
    ClientPlan client;
    std::uint32_t distributorDiesAtMs = 0;
};

CallPlan MakePlan(std::uint64_t seed);

/// The plan for a person, a few lines.
std::string Describe(const CallPlan& plan);

/// What the servant logs at that step.
std::string MakeLogText(LogText text);

bool IsOverNetwork(Way way);
bool HasMissingServant(Way way);
bool HasDyingDistributor(Way way);

} // namespace test
