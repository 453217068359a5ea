#include "support/ForwardingFiles.h"

namespace quillon {

class CForwardingFiles::CForwardedFile final : public CFile {
public:
    CForwardedFile(CForwardingFiles& files, std::unique_ptr<CFile> file)
        : m_files(files), m_file(std::move(file)) {}
    ~CForwardedFile() override {
        // Also where nothing may pass: a file is let go of.
        (void)m_files.Enter();
        m_file.reset();
        m_files.Leave();
    }
    CForwardedFile(const CForwardedFile&) = delete;
    CForwardedFile& operator=(const CForwardedFile&) = delete;

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        return m_files.Pass([&] { return m_file->ReadAt(offset, bytes); }, -1);
    }
    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        return m_files.Pass([&] { return m_file->WriteAt(offset, bytes); });
    }
    bool SetSize(int64_t size) override {
        return m_files.Pass([&] { return m_file->SetSize(size); });
    }
    int64_t Size() override {
        return m_files.Pass([&] { return m_file->Size(); }, -1);
    }
    bool Sync() override {
        return m_files.Pass([&] { return m_file->Sync(); });
    }

private:
    CForwardingFiles& m_files;
    std::unique_ptr<CFile> m_file;
};

std::unique_ptr<CFile> CForwardingFiles::Open(const std::string& path, OpenMode mode) {
    // The forwarding file is a call's result like another.
    return Pass([&]() -> std::unique_ptr<CFile> {
        std::unique_ptr<CFile> file = m_base.Open(path, mode);
        if (!file) return nullptr;
        return std::make_unique<CForwardedFile>(*this, std::move(file));
    });
}

}  // namespace quillon
