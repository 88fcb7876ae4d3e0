// zevo xml: the descriptions, as the producer publishes them.
#include <cstdio>

#include "cli/command.h"
#include "genapi/description.h"

namespace zevo_tool
{

namespace
{

std::string Fetch(const Producer& producer, PORT_HANDLE handle)
{
    GenTLPort port(producer, handle);
    return FetchDescription(port);
}

std::string FetchFromStream(const Device& device)
{
    const std::vector<std::string> ids = device.StreamIds();
    if (ids.empty())
        throw Failure("the camera has no data stream");
    const Stream stream(device, ids.front());
    return Fetch(device.Library(), stream.Handle());
}

struct Module {
    const char* name;
    std::string (*describe)(const Camera& camera);
};

constexpr Module kModules[] = {
    {"camera", [](const Camera& camera) { return camera.Description(); }},
    {"device",
     [](const Camera& camera) {
         return Fetch(camera.Module().Library(), camera.Module().Handle());
     }},
    {"stream", [](const Camera& camera) { return FetchFromStream(camera.Module()); }},
    {"interface",
     [](const Camera& camera) {
         return Fetch(camera.Module().Library(), camera.Entry().interface->Handle());
     }},
    {"system",
     [](const Camera& camera) {
         return Fetch(camera.Module().Library(), camera.Entry().system->Handle());
     }},
};

class XmlCommand final : public CameraCommand
{
public:
    CLI::App* Define(CLI::App& parent) override
    {
        std::vector<std::string> names;
        for (const Module& module : kModules)
            names.emplace_back(module.name);
        CLI::App* command = parent.add_subcommand("xml", "Print a description");
        command->add_option("MODULE", module_, "Whose: the camera's otherwise")
            ->check(CLI::IsMember(names));
        return command;
    }
    int Run(Camera& camera) override
    {
        for (const Module& module : kModules)
            if (module_ == module.name) {
                const std::string text = module.describe(camera);
                std::fwrite(text.data(), 1, text.size(), stdout);
            }
        return kExitSuccess;
    }

private:
    std::string module_ = kModules[0].name;
};

} // namespace

std::unique_ptr<CameraCommand> MakeXmlCommand()
{
    return std::make_unique<XmlCommand>();
}

} // namespace zevo_tool
