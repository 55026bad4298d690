#pragma once

#include <memory>

namespace spdlog {
class logger;
}

/// A logger under the library's name that takes every record and shows none.
std::shared_ptr<spdlog::logger> MakeSilentLogger();
void DropLogger();
