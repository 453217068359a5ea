#include "support/HttpsServer.h"

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

namespace quillon {

CHttpsServer::CHttpsServer() {
    using namespace std::chrono;
    const std::string script = std::string(QUILLON_SOURCE_DIR) + "/tests/support/https_server.py";
    if (!m_process.StartPython({script, m_folder.Path()}, m_folder.File("messages"))) return;
    const auto giveUp = steady_clock::now() + seconds(60);
    while (!std::filesystem::exists(m_folder.File("ports")) && !m_process.HasEnded() &&
           steady_clock::now() < giveUp) {
        std::this_thread::sleep_for(milliseconds(10));
    }
    std::istringstream ports(TextOfFile(m_folder.File("ports")));
    std::string name;
    for (uint16_t port = 0; ports >> name >> port;) m_ports[name] = port;
}

CHttpsServer::~CHttpsServer() {
    // It also ends by itself when this is gone.
    std::error_code ignored;
    std::filesystem::remove(m_folder.File("ports"), ignored);
}

std::string CHttpsServer::Messages() const {
    return TextOfFile(m_folder.File("messages"));
}

uint16_t CHttpsServer::Port(const std::string& name) const {
    const auto found = m_ports.find(name);
    return found == m_ports.end() ? uint16_t{0} : found->second;
}

std::string CHttpsServer::Requests() const {
    return TextOfFile(m_folder.File("requests"));
}

}  // namespace quillon
