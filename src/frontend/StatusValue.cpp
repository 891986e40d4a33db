#include "frontend/StatusReport.h"

namespace larkspan {
namespace {

Value helperValue(const HelperFacts& helper) {
    return Value::Dictionary{
        {"processID", helper.processID}, {"version", helper.version}, {"started", helper.started}};
}

Value folderValue(const FolderStatus& folder) {
    Value::Dictionary fields{{"folder", folder.folder.str()},
                             {"extensions", folder.extensions},
                             {"exists", folder.exists},
                             {"problem", folder.problem},
                             {"notice", folder.notice}};
    if (folder.watched != Watched::unknown) {
        fields.emplace("watched", folder.watched != Watched::no);
        fields.emplace("throughProjects", folder.watched == Watched::throughProjects);
    }
    return fields;
}

Value lastVersionValue(const LastVersion& last) {
    return Value::Dictionary{
        {"project", last.project.displayName()}, {"id", last.project.id.text},
        {"number", last.version.number.value},   {"taken", last.version.taken},
        {"saved", last.version.saved},           {"file", last.version.file.str()}};
}

Value storeValue(const StoreStatus& store) {
    Value::Dictionary fields{{"folder", store.root.str()},
                             {"exists", store.exists},
                             {"writable", store.writable},
                             {"mounted", !store.onUnmountedVolume},
                             {"projects", store.projects}};
    if (store.space) {
        fields.emplace("free", store.space->free);
        fields.emplace("total", store.space->total);
    }
    if (store.last) fields.emplace("lastVersion", lastVersionValue(*store.last));
    return fields;
}

}  // namespace

Value StatusReport::asValue() const {
    Value::Array folderList;
    for (const FolderStatus& folder : folders) folderList.push_back(folderValue(folder));
    Value::Array troubleList;
    for (const Trouble& trouble : troubles) {
        troubleList.emplace_back(
            Value::Dictionary{{"text", trouble.text}, {"advice", trouble.advice}});
    }
    Value::Dictionary fields{{"ok", troubles.empty()},
                             {"folders", std::move(folderList)},
                             {"troubles", std::move(troubleList)}};
    if (helper) fields.emplace("helper", helperValue(*helper));
    if (store) fields.emplace("store", storeValue(*store));
    if (helper && helper->lastProblem) {
        fields.emplace("lastProblem", Value::Dictionary{{"text", helper->lastProblem->text},
                                                        {"date", helper->lastProblem->date}});
    }
    return fields;
}

}  // namespace larkspan
