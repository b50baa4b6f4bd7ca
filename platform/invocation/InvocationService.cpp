// Carries out what the chrome invokes. Main thread.
#include "platform/invocation/InvocationService.h"

#include "platform/desktop/NavigatorJson.h"
#include "platform/invocation/Invocation.h"

#include <glib.h>

#include <cstdlib>
#include <utility>

namespace Tessel::Platform {

namespace {

using NavigatorJson::writeMember;
using NavigatorJson::Writer;

void write(Writer& writer, const InvokeTarget& target) {
  writer.StartObject();
  writeMember(writer, "target", String(target.id));
  writeMember(writer, "name", String(target.name));
  writer.Key("default");
  writer.Bool(target.isDefault);
  writer.EndObject();
}

String viewerState(const char* name, const String& value) {
  return NavigatorJson::text([&](Writer& writer) {
    writer.StartObject();
    writeMember(writer, name, value);
    writer.EndObject();
  });
}

}  // namespace

InvocationService::InvocationService(NavigatorHandler& handler, std::string viewerProgram)
    : handler_(handler),
      viewers_([this](const String& viewer) { handler_.onViewerStopped(viewer); },
               [this](const String& viewer, const String& problem) {
                 later([this, viewer, problem] {
                   handler_.onViewerRelayResponse(
                       viewer, problem.isEmpty() ? String("{}") : viewerState("error", problem));
                 });
               },
               std::move(viewerProgram)) {
  handler_.addService(this);
}

InvocationService::~InvocationService() {
  if (source_) g_source_remove(source_);
  handler_.removeService(this);
}

void InvocationService::later(Answer answer) {
  answers_.push_back(std::move(answer));
  if (source_) return;
  source_ = g_idle_add(
      [](gpointer self) -> gboolean {
        static_cast<InvocationService*>(self)->answerAll();
        return G_SOURCE_REMOVE;
      },
      this);
}

void InvocationService::answerAll() {
  source_ = 0;
  // Those that an answer brings about have their own turn.
  for (const Answer& answer : std::exchange(answers_, {})) answer();
}

void InvocationService::invoke(const String& id, const String& request) {
  InvokeWish wish;
  InvokeTarget opened;
  String problem = readInvokeWish(request, wish);
  if (problem.isEmpty()) problem = openWith(wish, opened);
  const String result = problem.isEmpty()
                            ? NavigatorJson::text([&](Writer& writer) { write(writer, opened); })
                            : String();
  later([this, id, result, problem] { handler_.onInvokeResponse(id, result, problem); });
}

void InvocationService::queryTargets(const String& id, const String& request) {
  InvokeWish wish;
  const String problem = readInvokeWish(request, wish);
  const String targets = NavigatorJson::text([&](Writer& writer) {
    writer.StartArray();
    if (problem.isEmpty()) {
      for (const InvokeTarget& target : invokeTargets(wish)) write(writer, target);
    }
    writer.EndArray();
  });
  later([this, id, targets, problem] { handler_.onQueryTargetsResponse(id, targets, problem); });
}

String InvocationService::invokeRequest() {
  return std::getenv(Viewers::requestVariable);
}

void InvocationService::invokeViewer(const String& id, const String& viewer,
                                     const String& request) {
  InvokeWish wish;
  String problem = readInvokeWish(request, wish);
  if (problem.isEmpty() && wish.uri.empty()) problem = "The request names no uri or file";
  if (problem.isEmpty()) problem = viewers_.open(viewer, wish.uri, request);
  later([this, id, viewer, problem, uri = String(wish.uri)] {
    handler_.onInvokeViewerResponse(
        id, problem.isEmpty() ? viewerState("viewer", viewer) : viewerState("error", problem));
    if (problem.isEmpty()) handler_.onViewerCreate(viewer, viewerState("uri", uri));
  });
}

void InvocationService::closeViewer(const String& viewer) {
  viewers_.close(viewer);
}

void InvocationService::viewerRelay(const String& viewer, const String& message) {
  viewers_.relay(viewer, message);
}

void InvocationService::getInvokeTargetFilters(const String& id, const String&) {
  later([this, id] { handler_.onGetInvokeTargetFiltersResponse(id, filters_, String()); });
}

void InvocationService::setInvokeTargetFilters(const String& id, const String& filters) {
  rapidjson::Document document;
  const bool valid =
      NavigatorJson::parse(filters.view(), document) && NavigatorJson::texts(document).has_value();
  if (valid) filters_ = filters;
  const String problem = valid ? "" : "The filters are no list of texts as JSON";
  later([this, id, problem] { handler_.onSetInvokeTargetFiltersResponse(id, filters_, problem); });
}

}  // namespace Tessel::Platform
