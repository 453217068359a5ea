#include <cstdlib>

#include "HttpsTrust.h"

namespace quillon {

CHttpsTrust::CHttpsTrust(const std::string& authorityFile) : m_trusted(true) {
    m_options.certificateFile = authorityFile;
    // The server is on this machine, whatever the machine reaches others through.
    for (const char* name : {"no_proxy", "NO_PROXY"}) ::setenv(name, "127.0.0.1", 1);
}

CHttpsTrust::~CHttpsTrust() = default;

}  // namespace quillon
