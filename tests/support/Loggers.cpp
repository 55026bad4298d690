#include "Loggers.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

std::shared_ptr<spdlog::logger> MakeSilentLogger() {
    auto logger = std::make_shared<spdlog::logger>("OrrinLogger", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger->set_level(spdlog::level::trace);
    return logger;
}

void DropLogger() {
    spdlog::drop("OrrinLogger");
}
