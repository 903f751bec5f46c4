#pragma once

#include <gtest/gtest.h>

#include <string>

/* What `action` writes to standard error. */
template <class Action>
std::string stderrOf(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}
