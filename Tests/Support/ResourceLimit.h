#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>

/*! A lower limit of this process, until destruction. */
class ResourceLimit
{
public:
    ResourceLimit(__rlimit_resource resource, rlim_t limit)
        : m_resource(resource)
    {
        EXPECT_EQ(::getrlimit(resource, &m_original), 0);
        const rlimit lower{limit, m_original.rlim_max};
        EXPECT_EQ(::setrlimit(resource, &lower), 0);
    }
    ~ResourceLimit() { ::setrlimit(m_resource, &m_original); }
    ResourceLimit(const ResourceLimit &) = delete;
    ResourceLimit &operator=(const ResourceLimit &) = delete;

private:
    const __rlimit_resource m_resource;
    rlimit m_original = {};
};
