#pragma once

#include "zekovar/testing/test_manager.h"

namespace ZK::Test::Detail
{
/// The tests that the library's classes carry.
std::vector<Fixture> selfTests();
}
