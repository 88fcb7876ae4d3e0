#include "inventory/camera.h"

namespace zevo_tool
{

Camera::Camera(const std::vector<std::string>& producerFiles, const std::string& selector)
    : inventory_(TakeInventory(producerFiles)), entry_(inventory_.Find(selector)),
      device_(*entry_.interface, entry_.id), port_(device_.Library(), device_.RemotePort()),
      description_(FetchDescription(port_)), features_(port_, description_)
{
}

} // namespace zevo_tool
