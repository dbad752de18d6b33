// The earlier custom types, read from the activity store's tree of the
// custom-activities application: every node's path from the first level down,
// joined without a separator (the values carry their own separators).

#include <algorithm>

#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "ui/TRCustomActivityCreationViewController.h"

QStringList customActivityTypeSuggestions(TRActivityStore& store) {
    QStringList suggestions;
    if (store.managedObjectContext() == nullptr) return suggestions;
    TRASApplication* application = TRASApplication::customActivitiesApplication(*store.managedObjectContext());
    TRASPathComponent* root = application ? application->pathRoot() : nullptr;
    if (root == nullptr) return suggestions;
    for (TRASPathComponent* node : root->completeSubtree(store.allPathComponentsGroupedByPathParent())) {
        QString joined;
        for (TRASPathComponent* component : node->fullPathAsComponents()) {
            joined += component->value();
        }
        if (!joined.isEmpty() && !suggestions.contains(joined)) suggestions << joined;
    }
    std::sort(suggestions.begin(), suggestions.end(), [](const QString& a, const QString& b) {
        return QString::compare(a, b, Qt::CaseInsensitive) < 0;
    });
    return suggestions;
}
