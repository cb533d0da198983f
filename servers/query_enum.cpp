#include <tavlib/error_numbers.h>
#include <tavlib/servers/query_enum.h>
#include <tavlib/servers/server_list.h>

#include <cstring>

#include "protocol/packet_view.h"

TAVQueryEnum::TAVQueryEnum(unsigned long serverAddress, const _TAVENTRYW& filter, unsigned argument1,
                           unsigned argument2, unsigned argument3, TAVServerList* serverList)
    : server(serverAddress),
      a1(argument1),
      a2(argument2),
      a3(argument3),
      list(serverList),
      valid(TAVEntryDupW(cursor, filter)),
      listSerial(serverList == nullptr ? 0 : serverList->GetSerial()) {
  cursor.word13 = 0;
}

TAVQueryEnum::~TAVQueryEnum() {
  endStep();
  DeMarshalFreeStrings(cursor);
  DeMarshalFreeStrings(narrow);
}

unsigned TAVQueryEnum::QueryNext(_TAVENTRYW& out, ServerInterface::ASyncRequest* next) {
  return startStep(&out, 1, next);
}

unsigned TAVQueryEnum::QueryNext(_TAVENTRYA& out, ServerInterface::ASyncRequest* next) {
  return startStep(&out, 0, next);
}

unsigned TAVQueryEnum::startStep(void* out, int isWide, ServerInterface::ASyncRequest* next) {
  if (isOutstanding()) return TAV_E_BUSY;
  endStep();  // after an error reply, the answer to the last step's request may still come
  ServerInterface::EndExchange(next);

  next->context = this;
  const unsigned status = list->QueryEntry(a1, a2, cursor, a3, server, next);
  if (status != TAV_E_PENDING) {
    next->context = nullptr;
    return status;
  }
  pending = out;
  wide = isWide;
  enterStep(next);
  return status;
}

// A step's request is looked at only while its transport has it: a careless host may have ended its memory.
bool TAVQueryEnum::isOutstanding() const {
  return hasRequest() && request->status == TAV_E_PENDING;
}

bool TAVQueryEnum::hasRequest() const {
  return transport != nullptr && transport->IsRegistered(requestId, request);
}

bool TAVQueryEnum::isStepOf(const ServerInterface::ASyncRequest* candidate) const {
  return request == candidate && requestId == candidate->registeredId;
}

void TAVQueryEnum::enterStep(ServerInterface::ASyncRequest* sent) {
  transport = static_cast<TAVServerInterface*>(sent->owner);
  request = sent;
  requestId = sent->registeredId;
  previousStep = transport->stepsEnd;
  *previousStep = this;
  transport->stepsEnd = &nextStep;
}

// The transport may be about to be destroyed, and the request's memory may have been freed.
void TAVQueryEnum::leaveStep() {
  *previousStep = nextStep;
  (nextStep == nullptr ? transport->stepsEnd : nextStep->previousStep) = previousStep;
  nextStep = nullptr;
  transport = nullptr;
  request = nullptr;
  pending = nullptr;
}

// A late reply must find no enumeration to write to.
void TAVQueryEnum::endStep() {
  if (transport == nullptr) return;
  if (hasRequest()) request->context = nullptr;
  leaveStep();
}

unsigned TAVQueryEnum::QueryComplete(ServerInterface::ASyncRequest* answered) {
  const unsigned status = wide == 1 ? QueryCompleteW(answered) : QueryCompleteA(answered);
  endStep();
  answered->context = nullptr;  // it may outlive the enumeration, until its result is returned
  return status;
}

unsigned TAVQueryEnum::QueryCompleteW(ServerInterface::ASyncRequest* answered) {
  DeMarshalFreeStrings(cursor);
  const _TAVPACKET& reply = answered->packet;
  if (tavlib::PacketReader(reply).be32(tavlib::kArgumentsAt) == 0) return TAV_E_NOMORE;
  if (DeMarshalTAVEntryW(cursor, &reply, 0) == 0) return TAV_E_NOMORE;
  if (pending != nullptr) std::memcpy(pending, &cursor, sizeof cursor);
  return 0;
}

unsigned TAVQueryEnum::QueryCompleteA(ServerInterface::ASyncRequest* answered) {
  const unsigned status = QueryCompleteW(answered);
  if (status != 0) return status;
  DeMarshalFreeStrings(narrow);
  if (EntryWToA(narrow, cursor) == 0) return TAV_E_NOMEMORY;
  if (pending != nullptr) std::memcpy(pending, &narrow, sizeof narrow);
  return 0;
}

int TAVQueryEnum::IsValid() {
  return valid;
}

int TAVQueryEnum::UsesList(const TAVServerList* candidate) const {
  return list == candidate && (list == nullptr || candidate->GetSerial() == listSerial) ? 1 : 0;
}
