#include "BtFtp.h"

std::atomic<BtFtp *> s_pThis{nullptr};

BtFtp::BtFtp(QWidget *parent) : m_pParent(parent)
{
    s_pThis = this;
}

BtFtp::~BtFtp() = default;

void BtFtp::resetHandles()
{
    m_hService = 0;
    m_hServer = 0;
    m_hShortcut = 0;
    m_hConnection = 0;
}

void BtFtp::SetSeviceHandle(unsigned int service, unsigned int server)
{
    resetHandles();
    m_hService = service;
    m_hServer = server;
}

void BtFtp::SetShortcutHanlde(unsigned int shortcut)
{
    resetHandles();
    m_hShortcut = shortcut;
}

void BtFtp::SetConnectionHandle(unsigned int connection)
{
    resetHandles();
    m_hConnection = connection;
}

void BtFtp::SetSvrHandle(unsigned int server)
{
    resetHandles();
    m_hSecondServer = server;
}

void BtFtp::SetInvokeVmFunction(InvokeVmFunction function)
{
    m_pInvokeVm = function;
}

void BtFtp::onfinish()
{
    delete m_pFinished;
}
