#include "liveview/vcap.h"

#include <cstdint>

#include "platform/device.h"
#include "platform/handles.h"

CVCap::CVCap() : m_hDevice(nullptr) {}

CVCap& CVCap::operator=(const CVCap& other) {
  m_hDevice = other.m_hDevice;
  return *this;
}

CVCap::~CVCap() {
  if (m_hDevice != nullptr) CloseHandle(m_hDevice);
  m_hDevice = nullptr;
}

int CVCap::Open() {
  m_hDevice =
      CreateFileW(L"CAP0:", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (reinterpret_cast<uintptr_t>(m_hDevice) != 0) return 1;
  m_hDevice = nullptr;
  return 0;
}

int CVCap::Close() {
  if (m_hDevice == nullptr) return 0;
  int result = CloseHandle(m_hDevice);
  m_hDevice = nullptr;
  return result;
}

int CVCap::StartCapture(VCAP_START_PARAMETER* param) {
  return DeviceIoControl(
      m_hDevice, IOCTL_VCAP_START_CAPTURE, param, 0, nullptr, 0, nullptr, nullptr);
}

int CVCap::StopCapture() {
  return DeviceIoControl(
      m_hDevice, IOCTL_VCAP_STOP_CAPTURE, nullptr, 0, nullptr, 0, nullptr, nullptr);
}

int CVCap::GetCaptureData(BYTE* buf, int size) {
  return DeviceIoControl(
      m_hDevice, IOCTL_VCAP_GET_CAPTURE_DATA, nullptr, 0, buf, DWORD(size), nullptr, nullptr);
}

int CVCap::GetCaptureDataQVGA(BYTE* buf, int size) {
  return DeviceIoControl(
      m_hDevice, IOCTL_VCAP_GET_CAPTURE_DATA, nullptr, 1, buf, DWORD(size), nullptr, nullptr);
}

int CVCap::ReadCaptureEvent(HANDLE* event) {
  // The driver writes a whole handle into the bytes-returned slot.
  return DeviceIoControl(m_hDevice,
                         IOCTL_VCAP_READ_EVENT,
                         nullptr,
                         0,
                         nullptr,
                         0,
                         reinterpret_cast<DWORD*>(event),
                         nullptr);
}

int CVCap::SetCaptureDisplay(VCAP_DISP_PARAMETER* param) {
  return DeviceIoControl(m_hDevice, IOCTL_VCAP_SET_DISPLAY, param, 0, nullptr, 0, nullptr, nullptr);
}

int CVCap::GetCaptureData2(BYTE* buf, int size, RECT* rect, int n) {
  return DeviceIoControl(
      m_hDevice, IOCTL_VCAP_GET_CAPTURE_RECT, rect, DWORD(n), buf, DWORD(size), nullptr, nullptr);
}
