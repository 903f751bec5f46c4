#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tool {

/* The shortest text that reads back as the same number. */
std::string numberText(double value);

/* A number of at most ten digits, for tables that people read. */
std::string shortNumberText(double value);

/* A number as JSON; null for what JSON has no number for. Whole numbers stay whole. */
nlohmann::ordered_json numberJson(double value);

/* "2026-03-01 12:00:00" in local time; "-" for a time that is none. */
std::string timeText(double seconds);

}  // namespace tool
