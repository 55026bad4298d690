#pragma once

#include <spdlog/sinks/base_sink.h>

#include <mutex>
#include <string>
#include <vector>

/// Keeps the texts of the records that it gets.
class TextSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::vector<std::string> texts;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        texts.emplace_back(message.payload.data(), message.payload.size());
    }
    void flush_() override {}
};
