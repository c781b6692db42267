/* print_records.c - prints the classes of the built modules as JSON: what the stubs of the Python package are made of.
 *
 * A program of its own, so that a build for another width than the machine's Python can make them, too.
 */
#include <stdio.h>

#include "zeva/host.h"

/* Names in records are identifiers, so nothing needs escapes. */
static void PrintMember(const ZevaMember* member) {
    printf(
        "{\"name\":\"%s\",\"shortName\":\"%s\",\"kind\":%d,\"shared\":%d,\"readOnly\":%d,\"type\":\"%s\","
        "\"parameters\":[",
        member->name, member->shortName, member->kind, member->isShared, member->isReadOnly, member->result.word);
    for (int32_t i = 0; i < member->parameterCount; ++i) {
        const ZevaParameter* parameter = &member->parameters[i];
        printf("%s{\"name\":\"%s\",\"type\":\"%s\"}", i > 0 ? "," : "", parameter->shortName, parameter->type.word);
    }
    printf("]}");
}

int main(void) {
    if (ZevaOpenHost(NULL) != kZevaDone) {
        fprintf(stderr, "%s\n", ZevaLastError()->message);
        return 1;
    }
    printf("[");
    for (const ZevaClass* isa = ZevaNextClass(NULL); isa != NULL; isa = ZevaNextClass(isa)) {
        printf("%s{\"name\":\"%s\",\"title\":\"%s\",\"shortName\":\"%s\",\"superclass\":\"%s\",\"members\":[",
               isa == ZevaNextClass(NULL) ? "" : ",\n", isa->name, isa->title, isa->shortName,
               isa->superclass != NULL ? isa->superclass->name : "");
        for (int32_t i = 0; i < isa->memberCount; ++i) {
            if (i > 0) printf(",");
            PrintMember(isa->members[i]);
        }
        printf("]}");
    }
    printf("]\n");
    return 0;
}
