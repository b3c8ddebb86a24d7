// Names of requests.
.pragma library

/// A random UUID of version 4.
function make() {
    return 'xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx'.replace(/[xy]/g, function (place) {
        var digit = Math.floor(Math.random() * 16)
        return (place === 'x' ? digit : digit & 3 | 8).toString(16)
    })
}
