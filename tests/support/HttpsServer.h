#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillon {

// https_server.py, running until the object dies. See there for the ports' names and the
// pages it serves.
class CHttpsServer {
public:
    // Waits until it listens.
    CHttpsServer();
    ~CHttpsServer();

    // False: python3 or openssl is missing or failed; Messages() says why.
    bool IsRunning() const { return !m_ports.empty(); }
    std::string Messages() const;

    uint16_t Port(const std::string& name) const;
    // Certificate of the authority that stands behind the server, PEM.
    std::string AuthorityFile() const { return m_folder.File("authority.pem"); }
    // The requests so far, one a line.
    std::string Requests() const;

private:
    CTemporaryFolder m_folder{"https"};
    CChildProcess m_process;
    std::map<std::string, uint16_t> m_ports;
};

}  // namespace quillon
