// The usual rules of ESLint, typescript-eslint and React's hooks, over the pages and their tests.
import js from "@eslint/js";
import hooks from "eslint-plugin-react-hooks";
import globals from "globals";
import ts from "typescript-eslint";

export default ts.config(
  { ignores: ["**/node_modules/", "build/"] },
  js.configs.recommended,
  ts.configs.recommended,
  {
    files: ["pages/**"],
    plugins: { "react-hooks": hooks },
    // exhaustive-deps is left out: effects here name what starts them anew, and read the rest through
    // a ref that holds the latest value.
    rules: { "react-hooks/rules-of-hooks": "error" },
    languageOptions: { globals: globals.browser },
  },
  {
    files: ["pages/*.js", "tests/**", "bench/**"],
    languageOptions: { globals: { ...globals.node, ...globals.browser } },
  },
);
