#include "quillmark/Attributes.h"

#include "common/Format.h"

namespace quillmark {

using ItemAttributes = CAttributes<CServerItemAttributesBase>;

ItemAttributes::CAttributes(const std::shared_ptr<IServerAttributes>& other) {
    if (other != nullptr) {
        CopyAttributes(*other, *this);
    }
}

std::shared_ptr<IServerAttributes> ItemAttributes::Clone() const {
    return std::make_shared<ItemAttributes>(*this);
}

bool ItemAttributes::HasTimes() const {
    return m_creationTime.IsSet() && m_lastAccessTime.IsSet() && m_lastWriteTime.IsSet() && m_changeTime.IsSet();
}

void ItemAttributes::Reset() {
    *this = ItemAttributes();
}

void ItemAttributes::SetName(const WideString& name) {
    m_name = name.Substring(0, name.view().find_last_not_of(QM_W('/')) + 1);
}

void ItemAttributes::SetDirectory(bool directory) {
    m_fileAttributes = directory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

std::string ItemAttributes::GetSizeText() const {
    return Format("%I64u", static_cast<std::uint64_t>(m_size));
}

WideString ItemAttributes::GetSizeTextW() const {
    return FormatWide(QM_W("%I64u"), static_cast<std::uint64_t>(m_size));
}

std::string ItemAttributes::GetFileAttributesText() const {
    return Format("%lu", m_fileAttributes);
}

WideString ItemAttributes::GetFileAttributesTextW() const {
    return FormatWide(QM_W("%lu"), m_fileAttributes);
}

void ItemAttributes::ClearTimes() {
    m_creationTime = m_lastAccessTime = m_lastWriteTime = m_changeTime = CAttributeTime();
}

// The cheap and most telling fields first: the first difference ends it.
bool ItemAttributes::Equals(const IServerAttributes& other) const {
    return m_revision == other.GetRevision() && m_creationTime == other.GetCreationTime() &&
           m_lastAccessTime == other.GetLastAccessTime() && m_lastWriteTime == other.GetLastWriteTime() &&
           m_changeTime == other.GetChangeTime() && m_size == other.GetSize() &&
           m_auxiliaryValue == other.GetAuxiliaryValue() && m_fileAttributes == other.GetFileAttributes() &&
           m_name == other.GetName() && m_auxiliaryText == other.GetAuxiliaryText() &&
           IsReadOnly() == other.IsReadOnly() && IsFolderReadOnly() == other.IsFolderReadOnly();
}

std::shared_ptr<IServerAttributes> MakeAttributes() {
    return std::make_shared<ItemAttributes>();
}

void CopyAttributes(const IServerAttributes& from, IServerAttributes& to) {
    to.SetRevision(from.GetRevision());
    to.SetCreationTime(from.GetCreationTime());
    to.SetLastAccessTime(from.GetLastAccessTime());
    to.SetLastWriteTime(from.GetLastWriteTime());
    to.SetChangeTime(from.GetChangeTime());
    to.SetSize(from.GetSize());
    to.SetAuxiliaryValue(from.GetAuxiliaryValue());
    to.SetFileAttributes(from.GetFileAttributes());
    to.SetAuxiliaryText(from.GetAuxiliaryText());
    to.SetName(from.GetName());
    to.SetReadOnly(from.IsReadOnly());
    to.SetFolderReadOnly(from.IsFolderReadOnly());
}

}  // namespace quillmark
