// The attribute record of a server item: what the server says of one file or folder, and what a host says of one that
// it sends.
//
// IServerAttributes is what operations take and hand back, always by shared pointer; CAttributes is the record behind
// it, which a host makes with MakeAttributes(). Every field may be unset. A record has no lock: it is not to be changed
// by one thread while another uses it.
//
// The order of the virtual operations is part of the calling interface.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "quillmark/AttributeTime.h"
#include "quillmark/WideString.h"

namespace quillmark {

class IAttributes {
public:
    virtual ~IAttributes() = default;
};

class IServerAttributes : public IAttributes {
public:
    static constexpr std::int64_t UnsetValue = 0x7FFFFFFFFFFFFFFF;
    static constexpr DWORD UnsetFileAttributes = 0xFFFFFFFF;

    // A field-by-field copy.
    [[nodiscard]] virtual std::shared_ptr<IServerAttributes> Clone() const = 0;

    // True only when all four times are set.
    [[nodiscard]] virtual bool HasTimes() const = 0;
    [[nodiscard]] virtual bool HasSize() const = 0;
    [[nodiscard]] virtual bool HasFileAttributes() const = 0;
    [[nodiscard]] virtual bool HasAuxiliaryValue() const = 0;
    [[nodiscard]] virtual bool HasAuxiliaryText() const = 0;
    [[nodiscard]] virtual bool HasName() const = 0;
    // Everything unset.
    virtual void Reset() = 0;

    virtual void SetCreationTime(CAttributeTime time) = 0;
    virtual void SetLastAccessTime(CAttributeTime time) = 0;
    virtual void SetLastWriteTime(CAttributeTime time) = 0;
    virtual void SetChangeTime(CAttributeTime time) = 0;
    // Bytes of content.
    virtual void SetSize(std::int64_t size) = 0;
    virtual void SetAuxiliaryValue(std::int64_t value) = 0;
    // FILE_ATTRIBUTE_* bits.
    virtual void SetFileAttributes(DWORD attributes) = 0;
    // The last component of the path; every trailing '/' is removed.
    virtual void SetName(const WideString& name) = 0;
    virtual void SetAuxiliaryText(const WideString& text) = 0;
    // The item itself may not be written.
    virtual void SetReadOnly(bool readOnly) = 0;
    // Nothing may be written inside the folder.
    virtual void SetFolderReadOnly(bool readOnly) = 0;
    // Replaces all file attributes: FILE_ATTRIBUTE_DIRECTORY (0x10) when true, FILE_ATTRIBUTE_NORMAL (0x80) when false.
    virtual void SetDirectory(bool directory) = 0;

    [[nodiscard]] virtual CAttributeTime GetCreationTime() const = 0;
    [[nodiscard]] virtual CAttributeTime GetLastAccessTime() const = 0;
    [[nodiscard]] virtual CAttributeTime GetLastWriteTime() const = 0;
    [[nodiscard]] virtual CAttributeTime GetChangeTime() const = 0;
    [[nodiscard]] virtual std::int64_t GetSize() const = 0;
    // Printed with "%I64u": an unset size prints as 9223372036854775807.
    [[nodiscard]] virtual std::string GetSizeText() const = 0;
    [[nodiscard]] virtual WideString GetSizeTextW() const = 0;
    [[nodiscard]] virtual std::int64_t GetAuxiliaryValue() const = 0;
    [[nodiscard]] virtual DWORD GetFileAttributes() const = 0;
    // Printed with "%lu".
    [[nodiscard]] virtual std::string GetFileAttributesText() const = 0;
    [[nodiscard]] virtual WideString GetFileAttributesTextW() const = 0;
    [[nodiscard]] virtual const WideString& GetName() const = 0;
    [[nodiscard]] virtual const WideString& GetAuxiliaryText() const = 0;
    [[nodiscard]] virtual bool IsReadOnly() const = 0;
    [[nodiscard]] virtual bool IsFolderReadOnly() const = 0;

    virtual void ClearTimes() = 0;
    virtual void ClearSize() = 0;
    virtual void ClearFileAttributes() = 0;
    virtual void ClearAuxiliaryValue() = 0;
    virtual void ClearAuxiliaryText() = 0;
    virtual void ClearName() = 0;

    // The server's revision text of the item, UTF-8.
    virtual void SetRevision(const std::string& revision) = 0;
    [[nodiscard]] virtual std::string GetRevision() const = 0;

    // True only when all fields are the same; texts are compared exactly, letter case included.
    [[nodiscard]] virtual bool Equals(const IServerAttributes& other) const = 0;
};

// Items in the order of the reply.
using ItemList = std::list<std::shared_ptr<IServerAttributes>>;

// The part of the record that only server items have: the revision.
class CServerItemAttributesBase : public IServerAttributes {
public:
    void SetRevision(const std::string& revision) override { m_revision = revision; }
    [[nodiscard]] std::string GetRevision() const override { return m_revision; }

protected:
    std::string m_revision;
};

template <typename Base>
class CAttributes;

template <>
class CAttributes<CServerItemAttributesBase> final
    : public CServerItemAttributesBase,
      public std::enable_shared_from_this<CAttributes<CServerItemAttributesBase>> {
public:
    CAttributes() = default;
    // Copies every field through the other record's getters.
    explicit CAttributes(const std::shared_ptr<IServerAttributes>& other);

    [[nodiscard]] std::shared_ptr<IServerAttributes> Clone() const override;
    [[nodiscard]] bool HasTimes() const override;
    [[nodiscard]] bool HasSize() const override { return m_size != UnsetValue; }
    [[nodiscard]] bool HasFileAttributes() const override { return m_fileAttributes != UnsetFileAttributes; }
    [[nodiscard]] bool HasAuxiliaryValue() const override { return m_auxiliaryValue != UnsetValue; }
    [[nodiscard]] bool HasAuxiliaryText() const override { return !m_auxiliaryText.empty(); }
    [[nodiscard]] bool HasName() const override { return !m_name.empty(); }
    void Reset() override;

    void SetCreationTime(CAttributeTime time) override { m_creationTime = time; }
    void SetLastAccessTime(CAttributeTime time) override { m_lastAccessTime = time; }
    void SetLastWriteTime(CAttributeTime time) override { m_lastWriteTime = time; }
    void SetChangeTime(CAttributeTime time) override { m_changeTime = time; }
    void SetSize(std::int64_t size) override { m_size = size; }
    void SetAuxiliaryValue(std::int64_t value) override { m_auxiliaryValue = value; }
    void SetFileAttributes(DWORD attributes) override { m_fileAttributes = attributes; }
    void SetName(const WideString& name) override;
    void SetAuxiliaryText(const WideString& text) override { m_auxiliaryText = text; }
    void SetReadOnly(bool readOnly) override { SetFlag(FlagReadOnly, readOnly); }
    void SetFolderReadOnly(bool readOnly) override { SetFlag(FlagFolderReadOnly, readOnly); }
    void SetDirectory(bool directory) override;

    [[nodiscard]] CAttributeTime GetCreationTime() const override { return m_creationTime; }
    [[nodiscard]] CAttributeTime GetLastAccessTime() const override { return m_lastAccessTime; }
    [[nodiscard]] CAttributeTime GetLastWriteTime() const override { return m_lastWriteTime; }
    [[nodiscard]] CAttributeTime GetChangeTime() const override { return m_changeTime; }
    [[nodiscard]] std::int64_t GetSize() const override { return m_size; }
    [[nodiscard]] std::string GetSizeText() const override;
    [[nodiscard]] WideString GetSizeTextW() const override;
    [[nodiscard]] std::int64_t GetAuxiliaryValue() const override { return m_auxiliaryValue; }
    [[nodiscard]] DWORD GetFileAttributes() const override { return m_fileAttributes; }
    [[nodiscard]] std::string GetFileAttributesText() const override;
    [[nodiscard]] WideString GetFileAttributesTextW() const override;
    [[nodiscard]] const WideString& GetName() const override { return m_name; }
    [[nodiscard]] const WideString& GetAuxiliaryText() const override { return m_auxiliaryText; }
    [[nodiscard]] bool IsReadOnly() const override { return (m_flags & FlagReadOnly) != 0; }
    [[nodiscard]] bool IsFolderReadOnly() const override { return (m_flags & FlagFolderReadOnly) != 0; }

    void ClearTimes() override;
    void ClearSize() override { m_size = UnsetValue; }
    void ClearFileAttributes() override { m_fileAttributes = UnsetFileAttributes; }
    void ClearAuxiliaryValue() override { m_auxiliaryValue = UnsetValue; }
    void ClearAuxiliaryText() override { m_auxiliaryText.Clear(); }
    void ClearName() override { m_name.Clear(); }

    [[nodiscard]] bool Equals(const IServerAttributes& other) const override;

private:
    static constexpr DWORD FlagReadOnly = 1;
    static constexpr DWORD FlagFolderReadOnly = 2;

    void SetFlag(DWORD flag, bool on) { m_flags = on ? m_flags | flag : m_flags & ~flag; }

    CAttributeTime m_creationTime;
    CAttributeTime m_lastAccessTime;
    CAttributeTime m_lastWriteTime;
    CAttributeTime m_changeTime;
    std::int64_t m_size = UnsetValue;
    std::int64_t m_auxiliaryValue = UnsetValue;
    DWORD m_fileAttributes = UnsetFileAttributes;
    WideString m_auxiliaryText;
    WideString m_name;
    DWORD m_flags = 0;
};

// A new record with everything unset.
[[nodiscard]] std::shared_ptr<IServerAttributes> MakeAttributes();

// Overwrites every field of one record with those of another.
void CopyAttributes(const IServerAttributes& from, IServerAttributes& to);

}  // namespace quillmark
