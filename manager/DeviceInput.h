#ifndef MANAGER_DEVICEINPUT_H
#define MANAGER_DEVICEINPUT_H

#include <QString>
#include <QVector>

namespace manager {

/** A network device as the user typed it. */
struct DeviceInput
{
    QString name;
    QString address;
    QString port;
};

/** A device that is already known. */
struct KnownDevice
{
    QString name;
    QString address;
    unsigned int port;
};

/** What is wrong with one field. */
struct InputError
{
    enum Field { None, Name, Address, Port };
    Field field = None;
    QString sentence;
};

/** The first thing that is wrong, in the order of the fields; field None when all is well. */
InputError checkDeviceInput(const DeviceInput &input, const QVector<KnownDevice> &known);

/** The input without the blanks around its fields and the brackets around an IPv6 address. */
DeviceInput tidied(const DeviceInput &input);

} // namespace manager

#endif
