#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mutex>
#include <poll.h>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/comms/CSerialPortList.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Device = CSerialPortDevice;

namespace
{

// A pseudo-terminal: the test drives the master side, the device opens the slave side.
class Pty
{
public:
    Pty()
    {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0)
        {
            char const* name = ::ptsname(m_master);
            m_slavePath = name != nullptr ? name : "";
            ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);
        }
    }
    ~Pty() { Hangup(); }
    bool Ok() const { return m_master >= 0 && !m_slavePath.empty(); }
    // The far end goes away: the device's side hangs up.
    void Hangup()
    {
        if (m_master >= 0)
        {
            ::close(m_master);
        }
        m_master = -1;
    }
    std::string const& SlavePath() const { return m_slavePath; }

    // Writes everything, waiting while the line is full.
    void Send(void const* data, std::size_t size) const
    {
        for (auto const* p = static_cast<char const*>(data); size > 0;)
        {
            ssize_t const n = ::write(m_master, p, size);
            p += std::max<ssize_t>(n, 0);
            size -= static_cast<std::size_t>(std::max<ssize_t>(n, 0));
            pollfd fd{m_master, POLLOUT, 0};
            ::poll(&fd, 1, n > 0 ? 0 : 100);
        }
    }
    void Send(std::string const& text) const { Send(text.data(), text.size()); }

    // Collects what the device wrote until size bytes arrived or the timeout passed.
    std::string Receive(std::size_t size, std::chrono::milliseconds timeout) const
    {
        std::string out;
        for (auto const deadline = Clock::now() + timeout;
             out.size() < size && Clock::now() < deadline;)
        {
            char buffer[4096];
            ssize_t const n = ::read(m_master, buffer, sizeof buffer);
            out.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
            pollfd fd{m_master, POLLIN, 0};
            ::poll(&fd, 1, n > 0 ? 0 : 20);
        }
        return out;
    }

private:
    int m_master = -1;
    std::string m_slavePath;
};

// Keeps each call of a slot as its arguments joined by spaces; slots run on the receive thread,
// the test reads here.
template <class Slot, class... Args> class Log : public Slot
{
public:
    ~Log() override { this->BeginDestroy(); }
    bool Invoke(Args... args) override
    {
        std::ostringstream line;
        ((line << args << ' '), ...);
        std::lock_guard guard(m_lock);
        m_records.push_back(line.str().substr(0, line.str().size() - 1));
        return false;
    }
    std::vector<std::string> Records()
    {
        std::lock_guard guard(m_lock);
        return m_records;
    }

private:
    std::mutex m_lock;
    std::vector<std::string> m_records;
};
using ErrorLog = Log<Device::ErrorSlot, int, Device::EErrorLevel, unsigned long, char const*>;
using LineErrorLog = Log<Device::LineErrorSlot, int, Device::EError>;
using PortOpenLog = Log<Device::PortOpenSlot, int const, bool const>;

unsigned long OpenPort(Device& device, int port, unsigned long bufferSize = 0,
                       Device::EHandshake handshake = Device::HANDSHAKE_NONE,
                       Device::EBaudrate baud = Device::BAUDRATE_115200,
                       Device::EStopBits stop = Device::STOP_BITS_ONE)
{
    return device.Open(port, baud, Device::DATA_BITS_8, Device::PARITY_BIT_NONE, stop, handshake,
                       bufferSize);
}

template <class Done> bool WaitUntil(Done done, std::chrono::milliseconds timeout = 5s)
{
    for (auto const deadline = Clock::now() + timeout; !done() && Clock::now() < deadline;)
    {
        std::this_thread::sleep_for(2ms);
    }
    return done();
}

class SerialPortDeviceTest : public ::testing::Test
{
protected:
    static constexpr int kPort = 41;

    void SetUp() override
    {
        if (!m_pty.Ok())
        {
            GTEST_SKIP() << "no pseudo-terminals on this host";
        }
        Device::SetDevicePath(kPort, m_pty.SlavePath().c_str());
        m_device.ConnectErrorHandler(m_errors, 128);
        m_device.ConnectLineErrorHandler(m_lineErrors, 128);
    }
    void TearDown() override
    {
        m_device.Close();
        Device::SetDevicePath(kPort, nullptr);
    }
    unsigned long OpenDevice(unsigned long bufferSize = 0)
    {
        return OpenPort(m_device, kPort, bufferSize);
    }
    bool WaitForBytes(unsigned long count)
    {
        return WaitUntil([&] { return m_device.GetBytesReady() >= count; });
    }

    Pty m_pty;
    ErrorLog m_errors;
    LineErrorLog m_lineErrors;
    Device m_device;
};

} // namespace

TEST_F(SerialPortDeviceTest, PortNumbersMapToDevicePaths)
{
    EXPECT_EQ(Device::GetDevicePath(kPort), m_pty.SlavePath());
    EXPECT_EQ(Device::GetDevicePath(0), "");

    ::setenv("SHARED_COM42", "/dev/from-environment", 1);
    EXPECT_EQ(Device::GetDevicePath(42), "/dev/from-environment");
    Device::SetDevicePath(42, "/dev/from-api");
    EXPECT_EQ(Device::GetDevicePath(42), "/dev/from-api") << "the API setting wins";
    Device::SetDevicePath(42, "");
    EXPECT_EQ(Device::GetDevicePath(42), "/dev/from-environment");
    ::unsetenv("SHARED_COM42");
    EXPECT_EQ(Device::GetDevicePath(42), "/dev/ttyS41");
}

TEST_F(SerialPortDeviceTest, FailedOpensReportAndLeaveTheDeviceClosed)
{
    PortOpenLog opens;
    Device::ConnectPortOpenHandler(opens, 128);
    struct Case
    {
        int port;
        char const* path; // for port 44
        Device::EBaudrate baud;
        Device::EStopBits stop;
        unsigned long bufferSize;
        unsigned long code;
        char const* report; // nullptr: none
    };
    auto const b9600 = Device::BAUDRATE_9600;
    auto const one = Device::STOP_BITS_ONE;
    for (Case c : {
             Case{0, nullptr, b9600, one, 0, 20, nullptr},
             Case{44, "/nonexistent/ttyX", b9600, one, 0, 2, "44 0 2 Unable to open device"},
             Case{44, "/dev/null", b9600, one, 0, 1, "44 0 1 Unable to open device"},
             // A rate the host cannot make, and one and a half stop bits with 8 data bits.
             Case{kPort, nullptr, Device::BAUDRATE_14400, one, 0, 87,
                  "41 0 87 Unable to set DCB information"},
             Case{kPort, nullptr, b9600, Device::STOP_BITS_ONE_HALF, 0, 87,
                  "41 0 87 Unable to set DCB information"},
             // A buffer that cannot be had is said to be that, not the driver's queues.
             Case{kPort, nullptr, b9600, one, 0x80000000UL, 8,
                  "41 0 8 Unable to allocate the receive buffer"},
         })
    {
        SCOPED_TRACE(c.code);
        Device::SetDevicePath(44, c.path);
        std::size_t const before = m_errors.Records().size();
        EXPECT_EQ(OpenPort(m_device, c.port, c.bufferSize, Device::HANDSHAKE_NONE, c.baud, c.stop),
                  c.code);
        auto const records = m_errors.Records();
        ASSERT_EQ(records.size(), before + (c.report != nullptr ? 1 : 0));
        if (c.report != nullptr)
        {
            EXPECT_EQ(records.back(), c.report);
        }
        EXPECT_FALSE(m_device.IsOpen());
        EXPECT_EQ(m_device.GetPort(), 0);
    }
    Device::SetDevicePath(44, "/dev/null");
    EXPECT_EQ(Device::CheckPort(44), Device::PORT_ERROR);
    Device::SetDevicePath(44, "/nonexistent/ttyX");
    EXPECT_EQ(Device::CheckPort(44), Device::PORT_NOT_PRESENT);
    Device::SetDevicePath(44, nullptr);
    EXPECT_EQ(Device::CheckPort(0), Device::PORT_NOT_PRESENT);
    EXPECT_TRUE(opens.Records().empty()) << "no open signal for a failed open";
    EXPECT_EQ(Device::CheckPort(kPort), Device::PORT_AVAILABLE) << "nothing left holding the port";
}

TEST_F(SerialPortDeviceTest, OpenAndCloseAreSignalledOnceAndTheOpenPortIsExclusive)
{
    PortOpenLog opens;
    Device::ConnectPortOpenHandler(opens, 128);
    ASSERT_EQ(OpenDevice(), 0u);
    EXPECT_TRUE(m_device.IsOpen());
    EXPECT_EQ(m_device.GetPort(), kPort);
    EXPECT_EQ(Device::CheckPort(kPort), Device::PORT_IN_USE);
    Device second;
    EXPECT_EQ(OpenPort(second, kPort), 5u);
    EXPECT_FALSE(second.IsOpen());

    m_device.Close();
    m_device.Close();
    EXPECT_EQ(opens.Records(), (std::vector<std::string>{"41 1", "41 0"}));
    EXPECT_EQ(m_device.GetPort(), 0);
    EXPECT_EQ(Device::CheckPort(kPort), Device::PORT_AVAILABLE);
    {
        Device scoped; // reopening works, and the destructor closes (and signals) too
        ASSERT_EQ(OpenPort(scoped, kPort), 0u);
    }
    EXPECT_EQ(opens.Records().size(), 4u);
    EXPECT_TRUE(m_errors.Records().empty());
}

TEST_F(SerialPortDeviceTest, ReadsTimeOutAndUnreadRestoresOrder)
{
    ASSERT_EQ(OpenDevice(), 0u);
    unsigned char buffer[10] = {};
    auto start = Clock::now();
    EXPECT_EQ(m_device.Read(buffer, 10, 80, 10), 0u);
    EXPECT_GE(Clock::now() - start, 75ms);
    EXPECT_EQ(m_device.Read(buffer, 0, 1000, 1000), 0u);

    m_pty.Send("ABCD");
    ASSERT_TRUE(WaitForBytes(4));
    start = Clock::now();
    EXPECT_EQ(m_device.Read(buffer, 10, 500, 50), 4u);
    auto const elapsed = Clock::now() - start;
    EXPECT_GE(elapsed, 45ms) << "waits the next-byte timeout after the fourth byte";
    EXPECT_LT(elapsed, 450ms) << "not the first-byte timeout";
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 4), "ABCD");

    // A block pushed back is read again in its first order, ahead of newer bytes.
    m_pty.Send("Z");
    ASSERT_TRUE(WaitForBytes(1));
    EXPECT_TRUE(m_device.Unread("xyz", 3));
    EXPECT_TRUE(m_device.Unread('w'));
    std::string again;
    for (unsigned char b = 0; m_device.Read(b, 100);)
    {
        again += static_cast<char>(b);
    }
    EXPECT_EQ(again, "wxyzZ");

    m_device.PurgeInput();
    EXPECT_EQ(m_device.GetBytesReady(), 0u);
    EXPECT_TRUE(m_lineErrors.Records().empty());
}

TEST_F(SerialPortDeviceTest, FifoSizeFollowsBufferSizeAndOverflowIsReported)
{
    for (auto [bufferSize, holds] : {std::pair{0UL, 1023UL}, {8UL, 1023UL}, {4096UL, 4095UL}})
    {
        SCOPED_TRACE(bufferSize);
        Device device;
        LineErrorLog lineErrors;
        device.ConnectLineErrorHandler(lineErrors, 128);
        ASSERT_EQ(OpenPort(device, kPort, bufferSize), 0u);
        m_pty.Send(std::string(holds + 500, 'q'));
        ASSERT_TRUE(WaitUntil([&] { return !lineErrors.Records().empty(); }))
            << "a full FIFO is reported";
        EXPECT_EQ(lineErrors.Records()[0], "41 2");
        EXPECT_EQ(device.GetBytesReady(), holds);

        // Pushing back into the full FIFO drops the newest byte and says so.
        // The overflow may be reported more than once while the rest of the burst comes in.
        ASSERT_TRUE(WaitUntil([&, holds = holds] { return device.GetBytesReady() == holds; }));
        std::this_thread::sleep_for(50ms);
        std::size_t const before = lineErrors.Records().size();
        EXPECT_FALSE(device.Unread('!'));
        EXPECT_EQ(lineErrors.Records().size(), before + 1);
        EXPECT_EQ(device.GetBytesReady(), holds);
        unsigned char b = 0;
        ASSERT_TRUE(device.Read(b, 0));
        EXPECT_EQ(b, '!');
    }
}

TEST_F(SerialPortDeviceTest, WritesArriveAndTimeOutWhenTheFarEndStopsReading)
{
    ASSERT_EQ(OpenDevice(), 0u);
    std::string const hello = "$PING,1*00\r\n";
    EXPECT_TRUE(m_device.Write(hello.data(), static_cast<unsigned long>(hello.size()), 1000));
    EXPECT_EQ(m_pty.Receive(hello.size(), 2s), hello);
    EXPECT_TRUE(m_device.Write(nullptr, 0, 0)) << "nothing to write is done at once";

    // Nobody reads the master: the line fills and the write gives up after its timeout.
    std::vector<unsigned char> big(4u << 20, 0x55);
    auto const start = Clock::now();
    EXPECT_FALSE(m_device.Write(big.data(), static_cast<unsigned long>(big.size()), 200));
    auto const elapsed = Clock::now() - start;
    EXPECT_GE(elapsed, 190ms);
    EXPECT_LT(elapsed, 3s);
    EXPECT_EQ(m_errors.Records(), (std::vector<std::string>{"41 1 1460 Write timeout"}));

    // Once the far end reads again, so does the line.
    m_pty.Receive(big.size(), 300ms);
    EXPECT_TRUE(m_device.Write("ok", 2, 2000));
    std::string const tail = m_pty.Receive(1u << 20, 300ms);
    ASSERT_GE(tail.size(), 2u);
    EXPECT_EQ(tail.substr(tail.size() - 2), "ok");
}

TEST_F(SerialPortDeviceTest, ConcurrentWritersBorrowThePortInTurnWhileDataArrives)
{
    ASSERT_EQ(OpenDevice(64 * 1024), 0u);
    constexpr int writers = 3;
    constexpr int blocks = 40;
    std::atomic<bool> allWritten{true};
    std::vector<std::thread> threads;
    for (int w = 0; w < writers; ++w)
    {
        threads.emplace_back(
            [&, w]
            {
                std::string const block = "<" + std::string(50, static_cast<char>('a' + w)) + ">";
                for (int i = 0; i < blocks; ++i)
                {
                    allWritten = m_device.Write(block.data(), 52, 5000) && allWritten;
                }
            });
    }
    threads.emplace_back([&] { m_pty.Send(std::string(20000, 'r')); });
    std::string const out = m_pty.Receive(writers * blocks * 52, 10s);
    for (auto& t : threads)
    {
        t.join();
    }
    EXPECT_TRUE(allWritten.load());
    ASSERT_EQ(out.size(), static_cast<std::size_t>(writers * blocks * 52));
    // Each write went out whole: blocks never interleave.
    for (std::size_t i = 0; i < out.size(); i += 52)
    {
        ASSERT_EQ(out[i], '<');
        EXPECT_EQ(out.find_first_not_of(out[i + 1], i + 1), i + 51) << "at " << i;
    }
    EXPECT_TRUE(WaitForBytes(20000));
    EXPECT_TRUE(m_errors.Records().empty());
}

TEST_F(SerialPortDeviceTest, PseudoTerminalsHaveNoModemLinesAndClosedDevicesFailCleanly)
{
    // A pty has no CTS, DSR, ring or carrier to read and no DTR or RTS to drive; the device
    // answers with the code and the report it gives for any port that refuses them. A break is
    // accepted (and ignored) by the pty driver.
    ASSERT_EQ(OpenDevice(), 0u);
    bool on = true;
    EXPECT_NE(m_device.GetCTS(on), 0u);
    EXPECT_FALSE(on);
    EXPECT_NE(m_device.GetRLSD(on), 0u);
    EXPECT_NE(m_device.SetDTR(true), 0u);
    EXPECT_NE(m_device.SetRTS(false), 0u);
    EXPECT_EQ(m_errors.Records().size(), 4u);
    EXPECT_EQ(m_device.Break(10), 0u);
    EXPECT_EQ(m_device.SetHandshake(Device::HANDSHAKE_XONXOFF), 0u);
    EXPECT_EQ(m_device.SetHandshake(Device::HANDSHAKE_HARDWARE), 0u);
    m_device.Close();

    // CTS handshaking raises RTS and DTR, which a pty cannot: Open fails and closes again.
    EXPECT_NE(OpenPort(m_device, kPort, 0, Device::HANDSHAKE_CTS), 0u);
    EXPECT_FALSE(m_device.IsOpen());
    EXPECT_EQ(m_errors.Records().size(), 5u);

    unsigned char b = 0;
    EXPECT_FALSE(m_device.Read(b, 10));
    EXPECT_EQ(m_device.Read(&b, 1, 10, 10), 0u);
    EXPECT_FALSE(m_device.Unread(b));
    EXPECT_EQ(m_device.GetBytesReady(), 0u);
    m_device.PurgeInput();
    EXPECT_FALSE(m_device.Write("x", 1, 10));
    EXPECT_NE(m_device.Break(1), 0u);
    Device copy(m_device); // a copy of a closed device is wired like it
    EXPECT_FALSE(copy.Write("x", 1, 10));
    auto const records = m_errors.Records();
    ASSERT_EQ(records.size(), 8u);
    EXPECT_EQ(records[5], "0 0 6 Write error");
    EXPECT_EQ(records[7], records[5]);
}

// The far end writes flat out while the reader is slower. By default the FIFO loses what does
// not fit and says so with LINE_OVERRUN; holding input back instead leaves the bytes in the
// driver, the full pseudo-terminal holds the writer back, and every byte arrives unchanged.
TEST_F(SerialPortDeviceTest, BurstsOverflowByDefaultAndAreHeldBackOnRequest)
{
    // Every byte value, including the 0xFF and 0x00 that the driver's error marks are made of.
    std::string data(256u << 10, '\0');
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        data[i] = static_cast<char>((i * 131) ^ (i >> 11));
    }
    data.replace(100, 5, "\xFF\0\0\xFF\xFF", 5);
    for (bool hold : {false, true})
    {
        SCOPED_TRACE(hold);
        Device device;
        LineErrorLog lineErrors;
        device.ConnectLineErrorHandler(lineErrors, 128);
        device.SetHoldInputWhenFull(hold);
        ASSERT_EQ(OpenPort(device, kPort, hold ? 64 * 1024 : 0), 0u);
        std::thread writer([&] { m_pty.Send(data); });
        std::string received;
        char buffer[512];
        while (unsigned long const n = device.Read(buffer, sizeof buffer, 300, 0))
        {
            received.append(buffer, n);
            std::this_thread::sleep_for(1ms); // a reader slower than the line
        }
        writer.join();
        auto const errors = lineErrors.Records();
        EXPECT_EQ(received == data, hold) << "bytes changed, lost or out of order";
        EXPECT_EQ(errors.empty(), hold);
        EXPECT_TRUE(errors.empty() || errors[0] == "41 2");
    }
}

TEST_F(SerialPortDeviceTest, HangupIsReportedOnceAndSeenAtOnce)
{
    ASSERT_EQ(OpenDevice(), 0u);
    EXPECT_FALSE(m_device.IsLineLost());
    m_pty.Send("$GPZDA*00\r\n");
    ASSERT_TRUE(WaitForBytes(11));
    m_pty.Hangup();
    EXPECT_TRUE(WaitUntil([&] { return m_device.IsLineLost(); }, 2s));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(m_errors.Records(),
              (std::vector<std::string>{"41 0 1167 Unable to read serial data"}));
    EXPECT_EQ(m_device.GetBytesReady(), 11u) << "what arrived before stays readable";
}

TEST_F(SerialPortDeviceTest, PortListFindsEnvironmentPortsAndTheirState)
{
    ::setenv("SHARED_COM4321", m_pty.SlavePath().c_str(), 1);
    ::setenv("SHARED_COM4322", "/nonexistent/ttyQ", 1);
    auto find = [](bool withAbsent, int port)
    {
        auto const entries = CSerialPortList::Scan(1, 0, withAbsent);
        auto it = std::find_if(entries.begin(), entries.end(),
                               [port](auto const& e) { return e.port == port; });
        return it == entries.end() ? Device::PORT_ERROR - 1 : it->status;
    };
    EXPECT_EQ(find(false, 4321), Device::PORT_AVAILABLE) << "named by the environment only";
    EXPECT_EQ(find(false, 4322), Device::PORT_ERROR - 1) << "absent ports are left out";
    EXPECT_EQ(find(true, 4322), Device::PORT_NOT_PRESENT);

    Device holder;
    ASSERT_EQ(OpenPort(holder, 4321), 0u);
    EXPECT_EQ(find(false, 4321), Device::PORT_IN_USE);
    ::unsetenv("SHARED_COM4321");
    ::unsetenv("SHARED_COM4322");
}
