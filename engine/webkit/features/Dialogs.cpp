// The dialogs of the page that drives the application, as GTK dialogs. Main thread.
#include "engine/webkit/features/Dialogs.h"

#include <gtk/gtk.h>

using link_protocol::DialogAnswer;
using link_protocol::DialogKind;
using link_protocol::DialogQuestion;

namespace {

void print(WebKitWebView* view, GtkWindow* parent) {
  WebKitPrintOperation* operation = webkit_print_operation_new(view);
  webkit_print_operation_run_dialog(operation, parent);
  g_object_unref(operation);
}

}  // namespace

DialogAnswer runDialog(WebKitWebView* view, const DialogQuestion& question) {
  GtkWidget* topLevel = gtk_widget_get_toplevel(GTK_WIDGET(view));
  GtkWindow* parent = GTK_IS_WINDOW(topLevel) ? GTK_WINDOW(topLevel) : nullptr;
  DialogAnswer answer;
  if (question.kind == DialogKind::Print) {
    print(view, parent);
    return answer;
  }
  const bool alert = question.kind == DialogKind::Alert;
  GtkWidget* dialog = gtk_message_dialog_new(
      parent, GtkDialogFlags(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
      alert ? GTK_MESSAGE_INFO : GTK_MESSAGE_QUESTION,
      alert ? GTK_BUTTONS_OK : GTK_BUTTONS_OK_CANCEL, "%s", question.message.utf8());
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
  GtkWidget* entry = nullptr;
  if (question.kind == DialogKind::Prompt) {
    entry = gtk_entry_new();
    gtk_entry_set_text(GTK_ENTRY(entry), question.initialText.utf8());
    gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
    gtk_container_add(
        GTK_CONTAINER(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(dialog))), entry);
    gtk_widget_show(entry);
  }
  // Destroyed with its parent, the dialog lives on for us to read.
  g_object_ref(dialog);
  answer.confirmed = gtk_dialog_run(GTK_DIALOG(dialog)) == GTK_RESPONSE_OK;
  if (entry && answer.confirmed) answer.text = gtk_entry_get_text(GTK_ENTRY(entry));
  gtk_widget_destroy(dialog);
  g_object_unref(dialog);
  return answer;
}
