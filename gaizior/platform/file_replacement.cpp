#include "gaizior/platform/file_replacement.h"

#include "gaizior/platform/crash_point.h"
#include "gaizior/platform/error_keeper.h"
#include "gaizior/platform/file_call.h"
#include "gaizior/platform/path.h"

#include <array>

namespace gaizior {

template <class Body>
bool FileReplacement::Try(Body&& body) {
    if (m_nError == NO_ERROR && body()) {
        CrashPoint();
        return true;
    }
    if (m_nError == NO_ERROR) {
        m_nError = ::GetLastError();
        Discard();
    }
    ::SetLastError(m_nError);
    return false;
}

bool FileReplacement::Open(const char* path, FileAccess access) {
    Discard();
    m_nError = NO_ERROR;
    const auto open = [&](const std::string& systemPath) {
        if (!file_system::FindTarget(systemPath, m_target)) {
            return false;
        }
        const FileAccess atFirst = m_target.file ? FileAccess::Private : access;
        m_file = File::CreateUnique(std::string(FolderOf(m_target.path)), atFirst, m_temporary);
        return static_cast<bool>(m_file);
    };
    return Try([&] { return OnPath(path, open); });
}

bool FileReplacement::Write(std::string_view bytes) {
    return Try([&] { return m_file.Write(bytes); });
}

bool FileReplacement::Copy(File& source) {
    const auto copy = [&] {
        std::array<char, 65536> block;
        std::size_t count = 0;
        do {
            if (!source.Read(block.data(), block.size(), count) || !Write({block.data(), count})) {
                return false;
            }
        } while (count > 0);
        return FileCallPasses() && file_system::TakeAfter(m_file.Handle(), source.Handle(), !m_target.file);
    };
    return Try([&] { return IsOther(source) && copy(); });
}

bool FileReplacement::Commit(bool mayReplace, AfterPowerLoss afterPowerLoss) {
    return Try([&] { return !m_target.file || (FileCallPasses() && KeepIdentity()); }) &&
           Try([&] { return m_file.Flush(); }) && Try([&] { return Rename(mayReplace); }) &&
           Try([&] { return afterPowerLoss == AfterPowerLoss::EitherOne || FlushFolder(); }) && Close();
}

bool FileReplacement::IsOther(const File& source) const {
    FileStatus from{}, to{};
    if (!source.Query(from) || (m_target.file && !(FileCallPasses() && file_system::Query(m_target.file, to)))) {
        return false;
    }
    if (m_target.file && from.device == to.device && from.id == to.id) {
        ::SetLastError(ERROR_SHARING_VIOLATION);
        return false;
    }
    return true;
}

bool FileReplacement::KeepIdentity() const {
    return file_system::KeepIdentity(m_file.Handle(), m_target.file);
}

bool FileReplacement::Rename(bool mayReplace) {
    m_file = File(); // Windows renames no open file
    m_target.file = FileHandle();
    if (!FileCallPasses() || !file_system::Rename(m_temporary, m_target.path, mayReplace)) {
        return false;
    }
    m_temporary.clear();
    return true;
}

bool FileReplacement::FlushFolder() {
    return FileCallPasses() && file_system::FlushFolder(m_target);
}

bool FileReplacement::Close() {
    m_target = {};
    m_nError = ERROR_INVALID_HANDLE; // nothing is open any more
    return true;
}

void FileReplacement::Discard() {
    const ErrorKeeper keeper;
    m_file = File();
    m_target = {};
    if (!m_temporary.empty()) {
        file_system::Remove(m_temporary);
        m_temporary.clear();
    }
}

bool SaveFile(const char* path, std::string_view contents, FileAccess access) {
    FileReplacement file;
    return file.Open(path, access) && file.Write(contents) && file.Commit();
}

} // namespace gaizior
