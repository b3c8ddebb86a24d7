#pragma once
// The one place that picks a source of downloads. Main thread.

#include "controlcenter/modelsource.h"

#include <functional>
#include <memory>

using SourceLoader = std::function<std::unique_ptr<ModelSource>(const QString &registry)>;

/// Never null: a registry that is not known gets a source that refuses.
std::unique_ptr<ModelSource> loadModelSource(const QString &registry);
