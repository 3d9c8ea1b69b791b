#include "obex/serveroperation.h"

#include "obex/isotime.h"
#include "obex/listingwriter.h"

namespace obex {

ResponseCode responseFor(share::Status status)
{
    switch (status) {
    case share::Status::Ok:
        return ResponseCode::Success;
    case share::Status::BadName:
        return ResponseCode::BadRequest;
    case share::Status::NotFound:
        return ResponseCode::NotFound;
    case share::Status::Refused:
        return ResponseCode::Forbidden;
    case share::Status::WrongKind:
        return ResponseCode::Conflict;
    case share::Status::ReadOnly:
        return ResponseCode::Unauthorized;
    case share::Status::Full:
        return ResponseCode::DatabaseFull;
    case share::Status::Failed:
        break;
    }
    return ResponseCode::InternalServerError;
}

std::string storedName(const QString &text)
{
    if (!text.isValidUtf16())
        return {}; // half a character: any replacement would be another name
    return text.toUtf8().toStdString();
}

void RequestHeaders::take(const Header &header)
{
    switch (header.id) {
    case HeaderId::Name:
        name = header.text();
        break;
    case HeaderId::Type:
        type = header.latin1();
        break;
    case HeaderId::Length:
        length = header.number;
        break;
    case HeaderId::Time: {
        const Seconds time = parseTime(header.latin1());
        if (time != NoTime)
            modified = time;
        break;
    }
    case HeaderId::Time4:
        if (!modified)
            modified = header.number;
        break;
    case HeaderId::Srm:
        srmWanted = header.number == SrmEnable;
        break;
    default:
        break;
    }
}

ResponseCode PutOperation::take(Bytes headers, bool final)
{
    HeaderReader reader(headers);
    Header header;
    share::Status status = share::Status::Ok;
    HeaderReader::Next next = reader.next(header);
    for (; next == HeaderReader::Next::Header && status == share::Status::Ok; next = reader.next(header)) {
        if (header.id == HeaderId::Body || header.id == HeaderId::EndOfBody)
            status = takeBody(header.value);
        else
            m_request.take(header);
    }
    if (next == HeaderReader::Next::Malformed)
        return ResponseCode::BadRequest;
    if (status == share::Status::Ok)
        status = final ? finish() : checkEarly();
    if (status != share::Status::Ok) {
        m_upload.reset();
        // Forbidden would tell the client that the share is read-only, which it says otherwise.
        return status == share::Status::Refused ? ResponseCode::Conflict : responseFor(status);
    }
    return final ? ResponseCode::Success : ResponseCode::Continue;
}

/** What can be refused before a byte of the file has been sent. */
share::Status PutOperation::checkEarly()
{
    if (m_checked)
        return share::Status::Ok;
    if (m_share->access() != share::Access::Writable)
        return share::Status::ReadOnly;
    if (!m_request.name)
        return share::Status::Ok; // it may be in the next packet
    m_name = storedName(*m_request.name);
    m_checked = true;
    return share::isStorableName(m_name) ? share::Status::Ok : share::Status::BadName;
}

share::Status PutOperation::takeBody(Bytes body)
{
    if (!m_upload) {
        share::Status status = checkEarly();
        if (status == share::Status::Ok && !m_checked)
            status = share::Status::BadName; // bytes without a name
        if (status == share::Status::Ok)
            status = m_share->startUpload(m_folder, m_name, m_request.length, &m_upload);
        if (status != share::Status::Ok)
            return status;
    }
    m_newBytes += body.size;
    return m_upload->write(body.data, body.size);
}

share::Status PutOperation::finish()
{
    const share::Status status = checkEarly();
    if (status != share::Status::Ok || !m_checked)
        return status == share::Status::Ok ? share::Status::BadName : status;
    if (!m_upload) // no body, not even an empty one: the name is to be deleted. IrOBEX 1.5, 3.4.3.6
        return m_share->remove(m_folder, m_name);
    if (m_request.modified)
        m_upload->setModified(*m_request.modified);
    const share::Status committed = m_upload->commit();
    m_stored = committed == share::Status::Ok;
    return committed;
}

bool GetOperation::takeRequest(Bytes headers)
{
    HeaderReader reader(headers);
    Header header;
    m_wait = false;
    for (;;) {
        switch (reader.next(header)) {
        case HeaderReader::Next::End:
            return true;
        case HeaderReader::Next::Malformed:
            return false;
        case HeaderReader::Next::Header:
            if (header.id == HeaderId::SrmParameters)
                m_wait = header.number == SrmpWait;
            else
                m_request.take(header);
        }
    }
}

ResponseCode GetOperation::begin()
{
    const bool listing = m_request.type.compare(QLatin1String(ListingType), Qt::CaseInsensitive) == 0;
    if (!listing && !m_request.name)
        return m_request.type.isEmpty() ? ResponseCode::BadRequest : ResponseCode::NotFound;
    const share::Status status = listing ? openListing() : openFile();
    return status == share::Status::Ok ? ResponseCode::Continue : responseFor(status);
}

share::Status GetOperation::openListing()
{
    share::Path path = m_folder;
    if (m_request.name && !m_request.name->isEmpty())
        path.push_back(storedName(*m_request.name));
    std::unique_ptr<share::DirectoryReader> entries;
    const share::Status status = m_share->list(path, &entries);
    if (status == share::Status::Ok)
        m_source = std::make_unique<ListingWriter>(std::move(entries), !path.empty());
    return status;
}

share::Status GetOperation::openFile()
{
    share::OpenFile file;
    const share::Status status = m_share->openFile(m_folder, storedName(*m_request.name), &file);
    if (status == share::Status::Ok) {
        m_source = std::make_unique<FileSource>(std::move(file));
        m_isFile = true;
    }
    return status;
}

ResponseCode GetOperation::respond(PacketWriter *packet, bool announceSrm)
{
    // The code stands first in a packet, but only the room after the headers tells whether this is the last one; so
    // the headers are written once with the code that is more likely and again when it was the other.
    const auto begin = [&](ResponseCode code) {
        packet->begin(code);
        if (announceSrm)
            (void)packet->addByte(HeaderId::Srm, SrmEnable); // a packet of the smallest size has room for it
        if (m_announced)
            return;
        const std::optional<std::uint64_t> size = m_source->size();
        if (size && *size <= UINT32_MAX)
            (void)packet->addNumber(HeaderId::Length, static_cast<std::uint32_t>(*size));
        const QByteArray time = formatTime(m_source->modified().value_or(NoTime));
        if (!time.isEmpty())
            (void)packet->addSequence(HeaderId::Time, bytesOf(time));
    };
    begin(ResponseCode::Continue);
    const std::size_t room = packet->roomForSequence();
    const bool last = m_source->fits(room);
    if (last)
        begin(ResponseCode::Success);
    m_announced = true;
    std::size_t count = 0;
    if (!m_source->read(packet->sequenceSpace(), room, &count)) {
        packet->begin(ResponseCode::InternalServerError);
        return ResponseCode::InternalServerError;
    }
    (void)packet->addFilledSequence(last ? HeaderId::EndOfBody : HeaderId::Body, count); // room was asked for
    m_newBytes = m_isFile ? count : 0;
    return last ? ResponseCode::Success : ResponseCode::Continue;
}

} // namespace obex
