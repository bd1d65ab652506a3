#pragma once

#include "core/platform/support/IoDevices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {

// A device with one place for reads and one for writes, and a record of what is told.
class IoDeviceFixture : public testing::Test {
protected:
    using Request = Pt::SmartPointer<Pt::IoRequest>;

    ~IoDeviceFixture() noexcept override = default;

    // The number is the length as well, by which the device knows it.
    Request request(std::uint32_t number,
        Pt::IoRequest::ReqPri priority = Pt::IoRequest::kNormal,
        TellingCompletion::Then then = {})
    {
        const Pt::SmartPointer<Pt::IoCompletion> completion(
            new TellingCompletion(m_told, std::to_string(number), std::move(then)));
        return new Pt::IoRequest(completion, nullptr, number, priority);
    }
    static std::string bitsOf(const Request& request) { return request->status().to_string(); }
    int errorOfRead(const Request& asked)
    {
        try {
            m_device->read(*asked);
        } catch (const Pt::ExSystem& failure) {
            return failure.errorCode();
        }
        return 0;
    }

    TellingCompletion::Record m_told;
    StagedDevice::Pointer m_device{new StagedDevice};
};

} // namespace test
