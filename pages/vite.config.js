import { defineConfig } from "vite";

export default defineConfig({
  // Where the server has them; "/ui" without the slash shows the shell too, so no relative addresses.
  base: "/ui/",
  esbuild: { jsx: "automatic", jsxImportSource: "preact", legalComments: "none" },
  build: {
    outDir: process.env.MB_PAGES_OUT ?? "../build/pages",
    emptyOutDir: true,
    target: ["chrome123", "firefox120", "safari17.5"],
    // The server knows no images and no fonts, and the policy allows no data: scripts.
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
    reportCompressedSize: false,
    rollupOptions: { input: ["shell.html", "term.html"] },
  },
});
