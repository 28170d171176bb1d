#pragma once

#include "client/RecordingRequest.h"

#include <qxmi/IServiceCall.h>
#include <qxmi/IServiceConnectorW.h>

#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace test
{

/// How many calls are made, by how many threads, and how.
struct RandomCalls
{
    unsigned seed = 1;
    int threads = 4;
    int callsPerThread = 500;
    bool cancelsSome = true;

    using MakeRequest = std::function<std::unique_ptr<RecordingRequest>(std::mt19937&)>;

    /// Makes the calls, ten at a time; cancels some, waits for some, and releases all. What was wrong with how they
    /// ended.
    std::vector<std::string> Make(qxmi::IServiceConnectorW& connector, const MakeRequest& makeRequest) const
    {
        std::mutex lock;
        std::vector<std::string> complaints;
        std::vector<std::jthread> workers;
        for (int thread = 0; thread < threads; ++thread)
        {
            workers.emplace_back(
                [&, thread]
                {
                    std::mt19937 random(seed * 100 + static_cast<unsigned>(thread));
                    for (int made = 0; made < callsPerThread; made += 10)
                    {
                        for (const std::string& complaint : MakeTen(connector, makeRequest, random))
                        {
                            const std::lock_guard guard(lock);
                            complaints.push_back(complaint);
                        }
                    }
                });
        }
        workers.clear();
        return complaints;
    }

private:
    std::vector<std::string> MakeTen(
        qxmi::IServiceConnectorW& connector, const MakeRequest& makeRequest, std::mt19937& random) const
    {
        std::vector<std::unique_ptr<RecordingRequest>> requests;
        std::vector<qxmi::IServiceCall*> calls;
        for (int i = 0; i < 10; ++i)
        {
            requests.push_back(makeRequest(random));
            calls.push_back(connector.CreateServiceCall(*requests.back()));
            if (cancelsSome && random() % 4 == 0)
                calls[random() % calls.size()]->Cancel();
        }
        for (auto* call : calls)
        {
            if (!cancelsSome || random() % 5 != 0)
                call->Wait();
            call->Release();
        }
        std::vector<std::string> complaints;
        for (const auto& request : requests)
        {
            if (const std::string complaint = request->Complaint(); !complaint.empty())
                complaints.push_back(complaint);
        }
        return complaints;
    }
};

} // namespace test
