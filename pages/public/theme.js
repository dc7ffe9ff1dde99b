// Before the first paint, so that a chosen theme does not flash. The system's is the default.
(() => {
  try {
    const theme = localStorage.getItem("mb.theme");
    if (theme === "light" || theme === "dark") document.documentElement.dataset.theme = theme;
  } catch {
    // No storage: the system's theme it is.
  }
})();
