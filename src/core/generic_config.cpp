#include "src/core/generic_config.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "src/core/console.h"
#include "src/services/dbshm.h"
#include "src/services/preference_reader.h"

namespace {

using Node = PREF::Reader::Node;

// Of two equal names the first one counts.
void ReadNamedId(Node& node, name_map_t& ids) {
  const std::string name = node.getAttributeString("name");
  ids.emplace(name, node.getAttributeInt("id"));
}

void ReadActionsChannel(Node& node, orvikData_t* data) {
  data->actionChannelName = node.getAttributeString("channel");
}

void ReadEventsChannel(Node& node, orvikData_t* data) {
  data->eventChannelName = node.getAttributeString("channel");
  PrintOut("orvikData->eventChannelName: " + data->eventChannelName);
}

void ReadVariable(Node& node, orvikData_t* data) {
  const std::string name = node.getAttributeString("name");
  const unsigned handle = DBSHM::getHandle(node.getAttributeString("var"));
  if (handle != 0) data->variableHandles.emplace(name, static_cast<int>(handle));
}

// A section of the document: how its own element is read, and the name and reader of its child elements.
struct section_t {
  std::string_view name;
  void (*readSection)(Node&, orvikData_t*);
  std::string_view childName;
  void (*readChild)(Node&, orvikData_t*);
};

constexpr section_t SECTIONS[] = {
    {"Actions", ReadActionsChannel, "Action", [](Node& n, orvikData_t* d) { ReadNamedId(n, d->actionIds); }},
    {"Events", ReadEventsChannel, "Event", [](Node& n, orvikData_t* d) { ReadNamedId(n, d->eventIds); }},
    {"Variables", nullptr, "Variable", ReadVariable},
    {"ScreenApi", nullptr, "Object", [](Node& n, orvikData_t* d) { ReadNamedId(n, d->screenObjectIds); }},
};

const section_t* FindSection(std::string_view name) {
  for (const section_t& section : SECTIONS) {
    if (section.name == name) return &section;
  }
  return nullptr;
}

void ReadSection(PREF::Reader& reader, const section_t& section, Node& node, orvikData_t* data) {
  if (section.readSection != nullptr) section.readSection(node, data);
  for (Node* child = reader.getFirstChild(); child != nullptr; child = reader.getNextSibling()) {
    if (child->GetName() == section.childName) section.readChild(*child, data);
  }
}

void ReadRoot(Node& root, orvikData_t* data) {
  if (root.GetName() != "orvik-generic") throw std::runtime_error("Not a orvik generic config file");
  data->ctVersion = root.getAttributeString("CT-version");
  data->createdBy = root.getAttributeString("createdBy");
  data->configVersion = root.getAttributeString("version");
  data->xmlDate = root.getAttributeString("xml-date");
}

// Any other first child than App is reported; reading then goes on after it.
void ReadApp(Node* first, orvikData_t* data) {
  if (first == nullptr || first->GetName() != "App") {
    PrintErr("orvik: ERROR! getFirstChild did not return App");
    return;
  }
  data->appId = first->getAttributeInt("id");
  data->appName = first->getAttributeString("name");
}

void ReadDocument(std::istream& stream, orvikData_t* data) {
  if (!stream) {
    std::ostringstream text;
    text << "Orvik: Can't open generic configuration file." << std::endl;
    throw std::runtime_error(text.str());
  }
  PREF::Reader reader(stream);
  ReadRoot(*reader.beginParsing(), data);
  Node* node = reader.getFirstChild();
  ReadApp(node, data);
  if (node == nullptr) return;
  while ((node = reader.getNextSibling()) != nullptr) {
    const section_t* section = FindSection(node->GetName());
    if (section != nullptr) ReadSection(reader, *section, *node, data);
  }
}

}  // namespace

void parseGeneric(std::istream& stream, orvikData_t* data) {
  try {
    ReadDocument(stream, data);
  } catch (const std::exception& fault) {
    PrintErr(std::string("Orvik: Error reading configuratin file: ") + fault.what());
  }
}
