// The parameter record's defaults and its lists: add, find the last, delete.
#include <cstring>
#include <utility>

#include "config/config.h"
#include "config/sections.h"

namespace {

char sDefaultOutFileName[kPathSize];
// Set when the last name given did not fit: a cut name would name another file.
bool sDefaultOutFileNameCut = false;

// Frees a list node by node: a recursive release could exhaust the stack on long lists.
template <typename Node>
void releaseList(std::unique_ptr<Node>& head) {
  while (head) head = std::move(head->next);
}

template <typename Node>
Node* lastNode(Node* head) {
  if (head == nullptr) return nullptr;
  while (head->next) head = head->next.get();
  return head;
}

template <typename Node>
Node* appendNode(std::unique_ptr<Node>& head) {
  Node* last = lastNode(head.get());
  std::unique_ptr<Node>& slot = last == nullptr ? head : last->next;
  slot = std::make_unique<Node>();
  return slot.get();
}

// With the tail kept, a long file of sections is read in linear time.
template <typename Node>
Node* appendAtTail(std::unique_ptr<Node>& head, Node*& tail) {
  std::unique_ptr<Node>& slot = tail == nullptr ? head : tail->next;
  slot = std::make_unique<Node>();
  tail = slot.get();
  return tail;
}

}  // namespace

char* setDefaultFileName(const char* name) {
  sDefaultOutFileNameCut = std::strlen(name) >= sizeof sDefaultOutFileName;
  copyField(sDefaultOutFileName, name);
  return sDefaultOutFileName;
}

const char* defaultFileName() {
  return sDefaultOutFileNameCut ? nullptr : sDefaultOutFileName;
}

void initCommonParameter(parameter* p) {
  releaseList(p->imageParameterList);
  releaseList(p->imageProcessingFileList);
  releaseList(p->newPJLList);
  releaseList(p->rawPacketList);
  parameter fresh;
  std::memcpy(fresh.cfgDirectory, p->cfgDirectory, sizeof fresh.cfgDirectory);
  fresh.commandDefinitions = p->commandDefinitions;
  *p = std::move(fresh);
}

imageParameter* addImageParameter(parameter* p) {
  return appendAtTail(p->imageParameterList, p->imageParameterLast);
}

void initImageParameter(imageParameter* entry) {
  std::unique_ptr<imageParameter> next = std::move(entry->next);
  *entry = imageParameter{};
  entry->next = std::move(next);
}

void setDefaultImageParameter(parameter* p) {
  const imageParameter* first = p->imageParameterList.get();
  imageParameter* last = getLastImageParameter(p);
  if (last == nullptr || last == first || isImageKELMSetting(last) == 1) return;
  last->colorSpace = first->colorSpace;
  last->compressionMode = first->compressionMode;
  last->numOfPlanes = first->numOfPlanes;
  std::memcpy(last->pixelDepth, first->pixelDepth, sizeof last->pixelDepth);
  std::memcpy(last->indexLevel, first->indexLevel, sizeof last->indexLevel);
  last->graphicResolutionH = first->graphicResolutionH;
  last->graphicResolutionV = first->graphicResolutionV;
}

imageProcessingFile* addImageProcessingFile(std::unique_ptr<imageProcessingFile>& head) {
  return appendNode(head);
}

newPJLLine* addNewPJLLine(parameter* p) {
  return appendAtTail(p->newPJLList, p->newPJLLast);
}

imageParameter* getLastImageParameter(parameter* p) {
  return p->imageParameterLast;
}

void deleteCFGFile(std::unique_ptr<cfgLine>& head) {
  releaseList(head);
}

void deleteImageProcessingFile(parameter* p) {
  releaseList(p->imageProcessingFileList);
}

void deleteImageParameter(parameter* p) {
  p->imageParameterLast = nullptr;
  releaseList(p->imageParameterList);
}

void disposeParameter(std::unique_ptr<parameter> p) {
  if (!p) return;
  deleteImageProcessingFile(p.get());
  deleteImageParameter(p.get());
  // The command definitions belong to the driver.
  p->newPJLLast = nullptr;
  releaseList(p->newPJLList);
  releaseList(p->rawPacketList);
}
