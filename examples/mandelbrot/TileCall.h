#pragma once

#include "Picture.h"
#include "Tile.h"

#include <qxmi/QxClient.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace mandelbrot
{

/// One tile's service call, and the request that tells the library what the call is about. The library talks to the
/// request on threads of its own; what it has found out is read when the call has ended.
class TileCall final : public qxmi::IServiceRequestW
{
public:
    /// The picture is not owned. onEnded comes once, on any thread, when the tile is there or will never be.
    TileCall(const TileOrder& order, Picture& picture, std::function<void()> onEnded);
    ~TileCall() override;

    void Start(qxmi::IServiceConnectorW& connector);

    qxmi::IServiceCall* Call() const { return m_call.get(); }

    /// Waits for the call's end. Throws std::runtime_error when the tile could not be rendered.
    void Wait();

    /// Whether the servant ran on this computer. Requires: waited for.
    bool WasLocal() const { return m_wasLocal; }

    // The request.
    void GetServiceName(std::wstring& name) override { name = L"Mandelbrot"; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& attributes) override;
    void Execute(qxmi::IServiceConnectionW& connection) override;
    void OnCancelled() override { Fail("cancelled"); }
    void OnError(const std::exception& error) override { Fail(error.what()); }
    void WriteLog(const wchar_t* text, std::size_t length) override { m_log.append(text, length); }

private:
    struct Release
    {
        void operator()(qxmi::IServiceCall* call) const { call->Release(); }
    };

    void Fail(const std::string& problem);

    const TileOrder m_order;
    Picture& m_picture;
    const std::function<void()> m_onEnded;
    bool m_wasLocal = true;
    std::string m_problem;
    std::wstring m_log;
    std::unique_ptr<qxmi::IServiceCall, Release> m_call; // last: its end still uses the rest
};

} // namespace mandelbrot
