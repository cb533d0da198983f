#include <tavlib/servers/query_enum.h>
#include <tavlib/servers/tav_server_interface.h>

#include <atomic>

#include "protocol/packet_view.h"

namespace {

constexpr unsigned kTimeoutMilliseconds = 15000;

unsigned marshal(const _TAVENTRYA& entry, _TAVPACKET& packet) {
  unsigned room = sizeof packet;
  return static_cast<unsigned>(MarshalTAVEntryA(&entry, &packet, &room, 1));
}

unsigned marshal(const _TAVENTRYW& entry, _TAVPACKET& packet) {
  unsigned room = sizeof packet;
  return static_cast<unsigned>(MarshalTAVEntryW(&entry, &packet, &room, 1));
}

// The completion routines in the form in which the transport calls them.
unsigned on_version_reply(ServerInterface* server, ServerInterface::ASyncRequest* request) {
  return TAVServerInterface::QueryVersionComplete(static_cast<TAVServerInterface*>(server), request);
}

unsigned on_query_reply(ServerInterface* server, ServerInterface::ASyncRequest* request) {
  return TAVServerInterface::QueryComplete(static_cast<TAVServerInterface*>(server), request);
}

}  // namespace

TAVServerInterface::TAVServerInterface(unsigned long serverAddress, unsigned short serverPort,
                                       const char* secret, int isLocal)
    : ServerInterface(serverAddress, serverPort, secret), local(static_cast<std::uint32_t>(isLocal)) {
  ended = &TAVServerInterface::endStepOf;
}

TAVServerInterface::~TAVServerInterface() {
  while (steps != nullptr)
    steps->leaveStep();
}

unsigned TAVServerInterface::QueryVersion(unsigned& version, ASyncRequest* request) {
  EndExchange(request);  // before its reply could reach the new completion routine
  tavlib::set_header(request->packet, tavlib::kMinPacketLength, TAV_REQUEST_VERSION);
  request->completion = on_version_reply;
  request->context = &version;
  return StartRequest(request);
}

unsigned TAVServerInterface::QueryVersionComplete(TAVServerInterface* /*server*/, ASyncRequest* request) {
  *static_cast<unsigned*>(request->context) =
      tavlib::PacketReader(request->packet).be32(tavlib::kArgumentsAt);
  return 0;
}

unsigned TAVServerInterface::AddEntry(const _TAVENTRYA& entry) {
  return addEntry(entry);
}

unsigned TAVServerInterface::AddEntry(const _TAVENTRYW& entry) {
  return addEntry(entry);
}

template <typename Record>
unsigned TAVServerInterface::addEntry(const Record& entry) {
  _TAVPACKET packet{};
  packet.code = TAV_REQUEST_ADDENTRY;
  if (marshal(entry, packet) == 0) return TAV_E_UNKNOWNSERVER;
  const unsigned status = TransactServer(&packet, sizeof packet, kTimeoutMilliseconds);
  if (status != 0) SetCommDown();
  return status;
}

unsigned TAVServerInterface::QueryEntry(unsigned a1, unsigned a2, unsigned a3, const _TAVENTRYW& entry,
                                        ASyncRequest* request) {
  void* const enumeration = request->context;
  EndExchange(request);  // before its reply could reach the new completion routine
  request->context = enumeration;
  request->completion = on_query_reply;
  request->packet.code = TAV_REQUEST_QUERYENTRY;
  tavlib::PacketWriter arguments(request->packet);
  arguments.be32(tavlib::kArgumentsAt, a1);
  arguments.be32(tavlib::kArgumentsAt + 4, a2);
  arguments.be32(tavlib::kArgumentsAt + 8, a3);
  if (marshal(entry, request->packet) == 0) return TAV_E_UNKNOWNSERVER;
  return StartRequest(request);
}

unsigned TAVServerInterface::QueryComplete(TAVServerInterface* /*server*/, ASyncRequest* request) {
  auto* enumeration = static_cast<TAVQueryEnum*>(request->context);
  if (enumeration != nullptr) return enumeration->QueryComplete(request);
  // An error reply has ended the step, and that result may still have to be returned to its owner.
  return request->status == TAV_E_SERVERERROR ? TAV_E_SERVERERROR : TAV_E_CANCELLED;
}

unsigned TAVServerInterface::Listen(unsigned short listenPort) {
  _TAVPACKET packet{};
  tavlib::set_header(packet, tavlib::kMinPacketLength, TAV_REQUEST_LISTEN);
  tavlib::PacketWriter(packet).be16(tavlib::kArgumentsAt, listenPort);
  return TransactServer(&packet, sizeof packet, kTimeoutMilliseconds);
}

unsigned TAVServerInterface::ListenStop() {
  _TAVPACKET packet{};
  tavlib::set_header(packet, tavlib::kMinPacketLength, TAV_REQUEST_LISTENSTOP);
  return TransactServer(&packet, sizeof packet, kTimeoutMilliseconds);
}

// The flag is atomic because a further TAVInitialize sets it while another thread adds an entry.
void TAVServerInterface::SetCommDown() {
  std::atomic_ref(commUp).store(0);
}

void TAVServerInterface::SetCommUp() {
  std::atomic_ref(commUp).store(1);
}

int TAVServerInterface::IsCommUp() {
  return static_cast<int>(std::atomic_ref(commUp).load());
}

int TAVServerInterface::IsLocal() {
  return static_cast<int>(local);
}

const char* TAVServerInterface::GetSecret() {
  return reinterpret_cast<const char*>(keyBuffer.data());
}

// The oldest step stands first, and is the likeliest one to be abandoned.
void TAVServerInterface::endStepOf(ServerInterface& transport, ASyncRequest* request) {
  TAVQueryEnum* enumeration = static_cast<TAVServerInterface&>(transport).steps;
  while (enumeration != nullptr && !enumeration->isStepOf(request))
    enumeration = enumeration->nextStep;
  if (enumeration == nullptr) return;
  request->context = nullptr;
  enumeration->leaveStep();
}
