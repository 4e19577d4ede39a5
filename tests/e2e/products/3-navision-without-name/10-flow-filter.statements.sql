-- max rows 3
SELECT "No_","Name","Balance" FROM "Customer" WHERE ((({pred SetFlowFilter, 'Customer', 'Location_Filter', 'BLUE'}))) ORDER BY "No_"
