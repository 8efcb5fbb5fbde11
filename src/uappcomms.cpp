#include "uappcomms.h"

#include <iostream>
#include <sstream>

std::string UAppComms::hexBytes(const unsigned char* buffer)
{
    std::ostringstream os;
    os << std::hex << static_cast<unsigned>(buffer[0]) << static_cast<unsigned>(buffer[1])
       << static_cast<unsigned>(buffer[2]);
    return os.str();
}

std::string UAppComms::malformedLine(const std::string& prefix, int count,
                                     const unsigned char* buffer)
{
    std::ostringstream os;
    os << prefix << "malformed message of " << count << " bytes: 0x" << hexBytes(buffer);
    return os.str();
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
