#pragma once

#include <cstddef>
#include <list>

namespace QxClient
{

class ServiceCallBase;

/// Started calls of a connector, in the order in which they were started. A call is in at most one list and keeps its
/// place there. Not thread safe; the caller holds the connector's lock. Owns no call.
class CallList
{
public:
    using Calls = std::list<ServiceCallBase*>;

    /// A call's place in a list, kept by the call.
    class Place
    {
        friend class CallList;
        CallList* m_list = nullptr;
        Calls::iterator m_position;
    };

    void Append(ServiceCallBase& call, Place& place)
    {
        place.m_position = m_calls.insert(m_calls.end(), &call);
        place.m_list = this;
    }

    /// Takes a call out of whatever list holds it, if any.
    static void Unlink(Place& place)
    {
        if (place.m_list)
            place.m_list->m_calls.erase(place.m_position);
        place.m_list = nullptr;
    }

    bool Holds(const Place& place) const noexcept { return place.m_list == this; }
    std::size_t Count() const noexcept { return m_calls.size(); }
    Calls::const_iterator begin() const noexcept { return m_calls.begin(); }
    Calls::const_iterator end() const noexcept { return m_calls.end(); }

private:
    Calls m_calls;
};

} // namespace QxClient
