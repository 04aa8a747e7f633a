// What a model says beside its report: a host of many models wants to hear none of them on standard output.

#include "model/messages.h"

#include "model/model.h"
#include "platform/console.h"

void messages_tell(const Model& model, const char* text) {
    if (!model.isSilent) {
        console_write(text);
    }
}
