#include "network/dispatch.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "network/json_text.h"

namespace zivra::sim {

namespace {

constexpr std::size_t kMostRequestsKept = 10000;
constexpr std::size_t kLongestKeyKept = 100;  // a client may send keys as long as a frame
constexpr int kMalformed = -257;

int unknownKey(char form) {
  switch (form) {
    case kGet:
      return -272;
    case kSet:
      return -288;
    case kWatch:
      return -304;
    default:
      return -259;
  }
}

Json::Int64 epochMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The one form letter of a request; 0 if there is none or more than one.
char formOf(const Json::Value& request) {
  char form = 0;
  for (const char letter : {kGet, kSet, kCommand, kWatch}) {
    if (!request.isMember(std::string(1, letter))) continue;
    if (form != 0) return 0;
    form = letter;
  }
  return form;
}

}  // namespace

void Dispatch::frame(LinkId link, std::string_view text) {
  const auto request = parseJson(text);
  if (!request || !request->isObject()) return;
  const Json::Value& id = (*request)["id"];
  if (!id.isString() && !id.isUInt64()) return;
  const std::string idText = id.asString();

  const char form = formOf(*request);
  const std::string letter = form == 0 ? "error" : std::string(1, form);
  Json::Value reply(Json::objectValue);
  reply["id"] = id;
  Answer answer;
  std::lock_guard lock(worldMutex_);
  if (form == 0 || !(*request)[letter].isObject()) {
    answer.body = kMalformed;
  } else {
    const Json::Value& body = (*request)[letter];
    for (auto member = body.begin(); member != body.end(); ++member)
      answerKey(link, form, member.name(), *member, idText, answer);
  }
  finish({link, letter, std::move(reply), std::move(answer)});
  collectPushes();
}

void Dispatch::answerKey(LinkId link, char form, const std::string& key, const Json::Value& parameter,
                         const std::string& id, Answer& answer) {
  requests_.push_back(key.substr(0, kLongestKeyKept));
  if (requests_.size() > kMostRequestsKept) requests_.pop_front();

  auto hit = faults_.take(key);
  if (hit.delay) answer.delay = std::max(answer.delay, hit.delay->delay);
  if (hit.other && hit.other->kind == Fault::Kind::refuse) {
    answer.body[key] = hit.other->code;
    return;
  }
  Reply reply = handle(link, form, key, parameter, id);
  const bool replaced = hit.other && hit.other->kind == Fault::Kind::reply;
  if (reply.later != 0 && !replaced) answer.later[reply.later] = key;
  answer.body[key] = std::move(reply.value);
  if (!hit.other) return;
  if (replaced)
    answer.body[key] = std::move(hit.reply);
  else
    answer.instead = std::move(hit.other);
}

Reply Dispatch::handle(LinkId link, char form, const std::string& key, const Json::Value& parameter,
                       const std::string& id) {
  const BatchHandler* handler = allHandlers().find(form, key);
  if (handler == nullptr) return refuse(unknownKey(form));
  try {
    Reply reply = (*handler)(world_, parameter, id);
    if (form == kWatch && reply.value == 0) return result(switchWatch(link, key, parameter.asBool()));
    return reply;
  } catch (const std::exception&) {
    return badParameter();  // whatever a client sends, the others' links must live
  }
}

int Dispatch::switchWatch(LinkId link, const std::string& key, bool on) {
  if (!on) {
    watches_[link].erase(key);
    return 0;
  }
  return watches_[link].insert(key).second ? 0 : -305;
}

void Dispatch::finish(Unfinished unfinished) {
  if (!unfinished.answer.later.empty()) {
    unfinished_.push_back(std::move(unfinished));
    return;
  }
  unfinished.reply[unfinished.letter] = std::move(unfinished.answer.body);
  send(unfinished.link, writeJson(unfinished.reply) + '\r', unfinished.answer);
}

void Dispatch::send(LinkId link, const std::string& text, const Answer& answer) {
  Delivery delivery;
  delivery.link = link;
  delivery.delay = answer.delay;
  delivery.bytes = text;
  if (answer.instead) {
    const Fault& fault = *answer.instead;
    if (fault.kind == Fault::Kind::mute) return;
    if (fault.kind == Fault::Kind::garbage) delivery.bytes = fault.text + '\r';
    if (fault.kind == Fault::Kind::drop) {
      delivery.bytes.resize(fault.half ? text.size() / 2 : 0);
      delivery.closeAfter = true;
    }
  }
  post(std::move(delivery));
}

void Dispatch::collectPushes() {
  for (Push& push : world_.pushes) {
    Json::Value message(Json::objectValue);
    message["n"][push.key] = std::move(push.payload);
    message["ts"] = epochMilliseconds();
    const std::string text = writeJson(message) + '\r';
    for (const auto& [link, keys] : watches_) {
      if (!keys.contains(push.key)) continue;
      Delivery delivery;
      delivery.link = link;
      delivery.bytes = text;
      post(std::move(delivery));
    }
  }
  world_.pushes.clear();
  for (LateAnswer& late : std::exchange(world_.lateAnswers, {})) {
    const auto found = std::find_if(unfinished_.begin(), unfinished_.end(), [&](const Unfinished& waiting) {
      return waiting.answer.later.contains(late.ticket);
    });
    if (found == unfinished_.end()) continue;  // its link has gone
    Unfinished waiting = std::move(*found);
    unfinished_.erase(found);
    waiting.answer.body[waiting.answer.later.extract(late.ticket).mapped()] = std::move(late.value);
    finish(std::move(waiting));
  }
}

void Dispatch::post(Delivery delivery) { outbox_.push_back(std::move(delivery)); }

void Dispatch::forget(LinkId link) {
  std::lock_guard lock(worldMutex_);
  watches_.erase(link);
  for (auto waiting = unfinished_.begin(); waiting != unfinished_.end();) {
    const auto next = std::next(waiting);
    if (waiting->link == link) {
      for (const auto& [ticket, key] : waiting->answer.later) world_.abandon(ticket);
      unfinished_.erase(waiting);
    }
    waiting = next;
  }
}

std::vector<Delivery> Dispatch::takeDeliveries() {
  std::lock_guard lock(worldMutex_);
  return std::exchange(outbox_, {});
}

}  // namespace zivra::sim
