#include "uappcomms.h"

#include <cstdio>
#include <iostream>

// The diagnostics of the whole library come through here: formatted with
// snprintf and std::to_string rather than a string stream per line, which
// keeps the code small (see README, "Footprint and idle cost").
std::string UAppComms::hexBytes(const unsigned char* buffer)
{
    char text[8];
    std::snprintf(text, sizeof text, "%x%x%x", static_cast<unsigned>(buffer[0]),
                  static_cast<unsigned>(buffer[1]), static_cast<unsigned>(buffer[2]));
    return text;
}

std::string UAppComms::malformedLine(const std::string& prefix, int count,
                                     const unsigned char* buffer)
{
    return prefix + "malformed message of " + std::to_string(count) + " bytes: 0x" +
           hexBytes(buffer);
}

std::string UAppComms::unrecognizedLine(const std::string& prefix, const unsigned char* buffer)
{
    return prefix + "unrecognized message: 0x" + hexBytes(buffer);
}

void UAppComms::writeLine(const std::string& line)
{
    // One write per line, so lines of several threads never interleave.
    std::cout << (line + '\n') << std::flush;
}
