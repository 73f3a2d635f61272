#include <shared/platform/SerialLine.h>

namespace shared::platform
{

unsigned long CSerialMarkDecoder::Strip(unsigned char* buffer, unsigned long size,
                                        SerialLineMarks& marks)
{
    // The output never overtakes the input, so the bytes can be rewritten in place.
    unsigned long out = 0;
    for (unsigned long i = 0; i < size; ++i)
    {
        unsigned char const c = buffer[i];
        switch (m_state)
        {
        case State::Data:
            if (c == 0xFF)
            {
                m_state = State::SawFF;
            }
            else
            {
                buffer[out++] = c;
            }
            break;
        case State::SawFF:
            if (c == 0x00)
            {
                m_state = State::SawFF00;
                break;
            }
            // 0xFF 0xFF is a genuine 0xFF. Anything else cannot come from the driver; the stray
            // 0xFF is dropped and the byte kept (growing the data in place could overwrite
            // input not yet decoded).
            buffer[out++] = c;
            m_state = State::Data;
            break;
        case State::SawFF00:
            if (c == 0x00)
            {
                ++marks.breaks;
            }
            else
            {
                // The byte arrived damaged; it is delivered as received, as Windows does.
                ++marks.errors;
                buffer[out++] = c;
            }
            m_state = State::Data;
            break;
        }
    }
    return out;
}

} // namespace shared::platform
